#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Shell.h"
#include "support/TemporaryFolder.h"

// The scripts that turn a build into what is given to people, with fakes for the tools of a Mac that write down how
// they were called.
namespace quillard {
namespace {

namespace fs = std::filesystem;
using test::shell;

const std::string kPackaging = QUILLARD_MACOS_PACKAGING;
const std::string kIdentity = "Developer ID Application: Some Body (ABCDE12345)";

class ReleaseScripts : public testing::Test {
 protected:
  // A bundle as it is before it is signed: libraries, and the update framework with all that is in it.
  void SetUp() override {
    for (const char* file :
         {"Info.plist", "MacOS/Quillard", "Frameworks/QtCore.framework/Versions/A/QtCore",
          "Frameworks/libcrypto.3.dylib", "PlugIns/platforms/libqcocoa.dylib", "Frameworks/libssl.3.dylib",
          "PlugIns/tls/libqopensslbackend.dylib", "PlugIns/tls/libqsecuretransportbackend.dylib",
          "Frameworks/Sparkle.framework/Versions/B/Sparkle", "Frameworks/Sparkle.framework/Versions/B/Autoupdate",
          "Frameworks/Sparkle.framework/Versions/B/Updater.app/Contents/MacOS/Updater",
          "Frameworks/Sparkle.framework/Versions/B/XPCServices/Installer.xpc/Contents/MacOS/Installer"}) {
      const fs::path path = fs::path(application) / "Contents" / file;
      fs::create_directories(path.parent_path());
      std::ofstream{path} << "x";
    }
    const fs::path sparkle = application + "/Contents/Frameworks/Sparkle.framework";
    fs::create_directory_symlink("B", sparkle / "Versions/Current");
    fs::create_directory_symlink("Versions/Current/Updater.app", sparkle / "Updater.app");
    fs::create_symlink("Versions/Current/Autoupdate", sparkle / "Autoupdate");
    fs::create_directories(tools);
  }

  // `body` is what the fake does after it has written down its arguments, one call a line.
  void addTool(const std::string& name, const std::string& body = "") {
    const std::string path = tools + "/" + name;
    std::ofstream{path} << "#!/usr/bin/env bash\nIFS='|'; echo \"" << name << "|$*\" >>'" << log << "'\n"
                        << body << "\n";
    fs::permissions(path, fs::perms::owner_all);
  }

  test::ShellOutcome run(const std::string& script, const std::string& arguments, const std::string& settings = "") {
    return shell(settings + " PATH='" + tools + "':\"$PATH\" '" + kPackaging + "/" + script + "' " + arguments);
  }

  [[nodiscard]] std::vector<std::string> calls() const {
    std::ifstream file{log};
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  // What was signed, in order, relative to the application.
  [[nodiscard]] std::vector<std::string> signedCode() const {
    std::vector<std::string> code;
    for (const auto& call : calls()) {
      if (call.find("--sign") == std::string::npos) continue;
      const std::string path = call.substr(call.rfind('|') + 1);
      code.push_back(path == application ? "." : path.substr(application.size() + 10));
    }
    return code;
  }

  const test::TemporaryFolder folder;
  const std::string application = folder.path() + "/Quillard.app";
  const std::string tools = folder.path() + "/tools";
  const std::string log = folder.path() + "/calls";
};

TEST_F(ReleaseScripts, SignFromTheInsideOut) {
  addTool("codesign");
  const auto outcome = run("sign.sh", "'" + application + "'", "QUILLARD_SIGNING_IDENTITY='" + kIdentity + "'");
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  const auto code = signedCode();
  const auto before = [&code](const std::string& inner, const std::string& outer) {
    const auto innerAt = std::find(code.begin(), code.end(), inner);
    const auto outerAt = std::find(code.begin(), code.end(), outer);
    return innerAt != code.end() && outerAt != code.end() && innerAt < outerAt;
  };
  const std::string sparkle = "Frameworks/Sparkle.framework";
  EXPECT_TRUE(before(sparkle + "/Versions/B/XPCServices/Installer.xpc", sparkle));
  EXPECT_TRUE(before(sparkle + "/Versions/B/Autoupdate", sparkle));
  EXPECT_TRUE(before(sparkle + "/Versions/B/Updater.app", sparkle));
  EXPECT_TRUE(before(sparkle, "."));
  EXPECT_TRUE(before("Frameworks/QtCore.framework", "."));
  EXPECT_TRUE(before("Frameworks/libcrypto.3.dylib", "."));
  EXPECT_TRUE(before("PlugIns/platforms/libqcocoa.dylib", "."));
  EXPECT_EQ(code.back(), ".");
  EXPECT_EQ(code.size(), 11U) << "Something was signed twice, or through a link.";
}

TEST_F(ReleaseScripts, SignForReleaseWithTheHardenedRuntimeAndNeverDeeply) {
  addTool("codesign");
  run("sign.sh", "'" + application + "'", "QUILLARD_SIGNING_IDENTITY='" + kIdentity + "'");
  const auto made = calls();
  ASSERT_FALSE(made.empty());
  for (const auto& call : made) {
    EXPECT_EQ(call.find("--deep"), std::string::npos) << call;
    if (call.find("--verify") != std::string::npos) continue;
    EXPECT_NE(call.find("--options|runtime|--timestamp"), std::string::npos) << call;
    EXPECT_NE(call.find("|" + kIdentity + "|"), std::string::npos) << call;
    const bool isService = call.find(".xpc") != std::string::npos;
    EXPECT_EQ(call.find("--preserve-metadata=entitlements") != std::string::npos, isService) << call;
  }
  EXPECT_NE(made.back().find("--verify|--strict"), std::string::npos);
}

TEST_F(ReleaseScripts, SignAdHocWithoutClaimsThatAreNotGranted) {
  addTool("codesign");
  const auto outcome = run("sign.sh", "'" + application + "/'", "QUILLARD_SIGNING_IDENTITY=");
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  for (const auto& call : calls()) {
    EXPECT_EQ(call.find("runtime"), std::string::npos) << call;
    EXPECT_EQ(call.find("--entitlements"), std::string::npos) << call;
  }
  EXPECT_NE(outcome.output.find("file keychain"), std::string::npos);
}

TEST_F(ReleaseScripts, ClaimTheKeychainOnlyWithAProfileOfTheTeam) {
  const std::string profile = folder.path() + "/some.provisionprofile";
  std::ofstream{profile} << "profile";
  addTool("codesign", "for a in \"$@\"; do if [[ $a == */tmp.* ]]; then cat \"$a\"; fi; done");
  const std::string settings =
      "TMPDIR= QUILLARD_PROVISIONING_PROFILE='" + profile + "' QUILLARD_SIGNING_IDENTITY='" + kIdentity + "'";
  const auto outcome = run("sign.sh", "'" + application + "'", settings);
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  EXPECT_NE(outcome.output.find("<string>ABCDE12345.com.quillard.agent</string>"), std::string::npos);
  EXPECT_EQ(outcome.output.find("@TEAM@"), std::string::npos);
  EXPECT_TRUE(fs::exists(application + "/Contents/embedded.provisionprofile"));
  for (const auto& call : calls()) {
    const bool isApplication = call.substr(call.rfind('|') + 1) == application;
    const bool isVerification = call.find("--verify") != std::string::npos;
    EXPECT_EQ(call.find("--entitlements") != std::string::npos, isApplication && !isVerification) << call;
  }
  // An identity without a team cannot have one.
  const auto adHoc = run("sign.sh", "'" + application + "'", "QUILLARD_PROVISIONING_PROFILE='" + profile + "'");
  EXPECT_NE(adHoc.code, 0);
}

TEST_F(ReleaseScripts, StopWhenSigningFails) {
  addTool("codesign", "exit 1");
  EXPECT_NE(run("sign.sh", "'" + application + "'").code, 0);
  EXPECT_EQ(calls().size(), 1U);
}

TEST_F(ReleaseScripts, StapleOnlyWhatWasAccepted) {
  addTool("ditto", "touch \"${@: -1}\"");
  const std::string settings = "QUILLARD_NOTARY_PROFILE=name";
  addTool("xcrun", R"([ "$1" = stapler ] || echo '{"id": "1", "status": "Invalid"}')");
  const auto refused = run("notarize.sh", "'" + application + "'", settings);
  EXPECT_NE(refused.code, 0);
  EXPECT_NE(refused.output.find("was not accepted"), std::string::npos) << refused.output;
  for (const auto& call : calls()) EXPECT_EQ(call.find("stapler"), std::string::npos) << call;

  addTool("xcrun", R"([ "$1" = stapler ] || echo '{"id": "1", "status": "Accepted"}')");
  const auto accepted = run("notarize.sh", "'" + application + "'", settings);
  EXPECT_EQ(accepted.code, 0) << accepted.output;
  EXPECT_EQ(calls().back(), "xcrun|stapler|staple|" + application);
}

// ---- What goes in

class BundledFrameworks : public ReleaseScripts {
 protected:
  void SetUp() override {
    ReleaseScripts::SetUp();
    addTool("macdeployqt");
    addTool("install_name_tool");
    addOtool();
  }
  // Says of each file what lies beside it as "<file>.needs" and "<file>.rpaths", a line each.
  void addOtool() {
    addTool("otool", R"(echo "$2:"
if [ "$1" = -L ] && [ -f "$2.needs" ]; then sed 's/.*/\t& (compatibility version 1.0.0, current version 1.0.0)/' "$2.needs"; fi
if [ "$1" = -l ] && [ -f "$2.rpaths" ]; then
  while IFS= read -r path; do printf '          cmd LC_RPATH\n      cmdsize 48\n         path %s (offset 12)\n' "$path"; done <"$2.rpaths"
fi)");
  }
  void needs(const std::string& file, const std::string& references) {
    std::ofstream{application + "/Contents/" + file + ".needs"} << references;
  }
  void looksIn(const std::string& file, const std::string& folders) {
    std::ofstream{application + "/Contents/" + file + ".rpaths"} << folders;
  }
  test::ShellOutcome bundle() { return run("bundle-frameworks.sh", "'" + application + "'"); }
  static bool has(const test::ShellOutcome& outcome, const std::string& words) {
    return outcome.output.find(words) != std::string::npos;
  }
};

TEST_F(BundledFrameworks, AreWholeWhereAllIsInsideOrTheSystems) {
  needs("MacOS/Quillard",
        "/usr/lib/libSystem.B.dylib\n/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit\n"
        "@executable_path/../Frameworks/libcrypto.3.dylib\n@rpath/QtCore.framework/Versions/A/QtCore\n");
  looksIn("MacOS/Quillard", "@executable_path/../Frameworks\n");
  needs("Frameworks/libssl.3.dylib", "@loader_path/libcrypto.3.dylib\n");
  const auto outcome = bundle();
  EXPECT_EQ(outcome.code, 0) << outcome.output;
}

TEST_F(BundledFrameworks, WithAReferenceOutsideAreRefusedByName) {
  needs("PlugIns/platforms/libqcocoa.dylib", "/opt/homebrew/opt/glib/lib/libglib-2.0.0.dylib\n");
  needs("MacOS/Quillard", "@rpath/QtGui.framework/Versions/A/QtGui\n@executable_path/../Frameworks/libgone.dylib\n");
  const auto outcome = bundle();
  EXPECT_NE(outcome.code, 0);
  EXPECT_TRUE(has(outcome, "PlugIns/platforms/libqcocoa.dylib: needs /opt/homebrew/opt/glib/lib/libglib-2.0.0.dylib"))
      << outcome.output;
  EXPECT_TRUE(has(outcome, "MacOS/Quillard: needs @rpath/QtGui.framework/Versions/A/QtGui")) << outcome.output;
  EXPECT_TRUE(has(outcome, "MacOS/Quillard: needs @executable_path/../Frameworks/libgone.dylib")) << outcome.output;
}

TEST_F(BundledFrameworks, WithALeftoverFolderOfTheBuildAreRefused) {
  looksIn("Frameworks/libssl.3.dylib", "/Users/ann/Qt/6.8.0/macos/lib\n");
  const auto outcome = bundle();
  EXPECT_NE(outcome.code, 0);
  EXPECT_TRUE(has(outcome, "Frameworks/libssl.3.dylib: looks for libraries in /Users/ann/Qt/6.8.0/macos/lib"))
      << outcome.output;
}

TEST_F(BundledFrameworks, TheProgramForgetsWhereItWasBuilt) {
  looksIn("MacOS/Quillard", "/Users/ann/Qt libraries\n@executable_path/../Frameworks\n");
  addTool("install_name_tool", "sed -i '/^\\/Users/d' \"$3.rpaths\"");
  const auto outcome = bundle();
  EXPECT_EQ(outcome.code, 0) << outcome.output;
  const std::string program = application + "/Contents/MacOS/Quillard";
  const auto made = calls();
  EXPECT_NE(std::find(made.begin(), made.end(), "install_name_tool|-delete_rpath|/Users/ann/Qt libraries|" + program),
            made.end());
}

TEST_F(BundledFrameworks, OfAToolThatFailsAndEndsWellAreRefused) {
  addTool("macdeployqt", "echo 'ERROR: Could not find Qt plugins' >&2");
  const auto failed = bundle();
  EXPECT_NE(failed.code, 0);
  EXPECT_TRUE(has(failed, "Could not find Qt plugins")) << failed.output;
  addTool("macdeployqt");  // Which says nothing, and leaves things out.
  fs::remove_all(application + "/Contents/PlugIns/platforms");
  const auto silent = bundle();
  EXPECT_NE(silent.code, 0);
  EXPECT_TRUE(has(silent, "PlugIns/platforms/libqcocoa.dylib: missing")) << silent.output;
}

TEST_F(BundledFrameworks, SpeakTlsInOneWayThatIsInside) {
  ASSERT_EQ(bundle().code, 0);
  EXPECT_TRUE(fs::exists(application + "/Contents/PlugIns/tls/libqopensslbackend.dylib"));
  EXPECT_FALSE(fs::exists(application + "/Contents/PlugIns/tls/libqsecuretransportbackend.dylib"));
  for (const std::string file :
       {"PlugIns/tls/libqopensslbackend.dylib", "Frameworks/libssl.3.dylib", "Frameworks/libcrypto.3.dylib"}) {
    const std::string path = application + "/Contents/" + file;
    fs::rename(path, path + ".away");
    const auto outcome = bundle();
    EXPECT_NE(outcome.code, 0) << file;
    EXPECT_TRUE(has(outcome, "missing")) << outcome.output;
    if (fs::exists(path + ".away"))
      fs::rename(path + ".away", path);
    else
      std::ofstream{path} << "x";
  }
}

TEST_F(BundledFrameworks, HaveTheUpdateFrameworkWithoutItsHeaders) {
  const std::string source = folder.path() + "/Sparkle.framework";
  fs::create_directories(source + "/Versions/B/Headers");
  fs::create_directory_symlink("Versions/Current/Headers", source + "/Headers");
  std::ofstream{source + "/Versions/B/Sparkle"} << "new";
  fs::create_directory_symlink("B", source + "/Versions/Current");
  addTool("ditto", "cp -a \"$1\" \"$2\"");
  const auto outcome = run("bundle-frameworks.sh", "'" + application + "' '" + source + "'");
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  const fs::path copy = application + "/Contents/Frameworks/Sparkle.framework";
  EXPECT_TRUE(fs::exists(copy / "Versions/B/Sparkle"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(copy / "Headers")));
  EXPECT_FALSE(fs::exists(copy / "Versions/B/Headers"));
  EXPECT_FALSE(fs::exists(copy / "Versions/B/Autoupdate")) << "Of the copy that was there before.";
}

TEST_F(ReleaseScripts, SayWhatTheyNeed) {
  if (shell("command -v codesign || command -v hdiutil || command -v macdeployqt || command -v otool").code == 0) {
    GTEST_SKIP() << "The tools of a Mac are here, so that nothing is missing.";
  }
  const std::string quoted = "'" + application + "' ";
  const auto says = [](const test::ShellOutcome& outcome, const char* words) {
    return outcome.code == 1 && outcome.output.find(words) != std::string::npos;
  };
  EXPECT_TRUE(says(run("sign.sh", quoted), "codesign is missing: it is a part of macOS"));
  EXPECT_TRUE(says(run("bundle-frameworks.sh", quoted), "macdeployqt is missing: it comes with Qt"));
  EXPECT_TRUE(says(run("check-bundle.sh", quoted), "otool is missing: it comes with Xcode"));
  EXPECT_TRUE(says(run("make-disk-image.sh", quoted + "Quillard.dmg"), "hdiutil is missing: it is a part of macOS"));
  EXPECT_TRUE(says(run("make-disk-image.sh", quoted), "say what the image is to be called"));
  EXPECT_TRUE(says(run("notarize.sh", quoted), "QUILLARD_NOTARY_PROFILE is not set"));
  EXPECT_TRUE(says(run("notarize.sh", quoted, "QUILLARD_NOTARY_PROFILE=name"), "xcrun is missing"));
  EXPECT_TRUE(says(run("release.sh", quoted + "Sparkle.framework Quillard.dmg"), "QUILLARD_SIGNING_IDENTITY"));
  for (const char* script :
       {"sign.sh", "bundle-frameworks.sh", "check-bundle.sh", "make-disk-image.sh", "release.sh"}) {
    EXPECT_TRUE(says(run(script, ""), "say which application")) << script;
    EXPECT_TRUE(says(run(script, "/no/such/Quillard.app"), "is no built Quillard.app")) << script;
  }
}

TEST(ReleaseScriptSources, AreSoundShell) {
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(kPackaging)) {
    if (entry.path().extension() != ".sh") continue;
    ++count;
    const auto outcome = shell("bash -n '" + entry.path().string() + "'");
    EXPECT_EQ(outcome.code, 0) << outcome.output;
  }
  EXPECT_EQ(count, 7U);
}

TEST(ReleaseScriptSources, PleaseTheLinter) {
  if (shell("command -v shellcheck").code != 0) GTEST_SKIP() << "There is no shellcheck here.";
  const auto outcome = shell("cd '" + kPackaging + "' && shellcheck -x -P . *.sh");
  EXPECT_EQ(outcome.code, 0) << outcome.output;
}

}  // namespace
}  // namespace quillard
