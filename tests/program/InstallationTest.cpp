#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/system/InstalledProgram.h"
#include "platform/linux/system/OwnFiles.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "program/Installation.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard {
namespace {

namespace fs = std::filesystem;
using test::ChildProcess;

class Installation : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    home = new test::TemporaryFolder;
    test::installProgram(prefix());
  }
  static void TearDownTestSuite() {
    delete home;
    home = nullptr;
  }
  static std::string prefix() { return home->path() + "/.local"; }
  static std::string bundleFolder() { return prefix() + "/lib/Quillard.app"; }

  struct Run {
    std::vector<std::string> lines;
    std::optional<int> code;
  };
  // Outside any session.
  static Run run(std::vector<std::string> arguments, std::vector<std::string> more = {}) {
    arguments.insert(arguments.begin(), prefix() + "/bin/quillard");
    more.insert(more.end(), {"HOME=" + home->path(), "PATH=/usr/bin:/bin", "XDG_RUNTIME_DIR=" + home->path()});
    ChildProcess program({.command = std::move(arguments), .environment = std::move(more), .input = {}});
    Run result;
    while (const auto line = program.readLine()) result.lines.push_back(*line);
    result.code = program.wait();
    return result;
  }

  static test::TemporaryFolder* home;
};

test::TemporaryFolder* Installation::home = nullptr;

// By the list that the program has of itself. A built-in relay comes only with some builds.
TEST_F(Installation, IsKnownWholeToWhoeverErasesIt) {
  std::set<std::string> installed;
  for (const auto& entry : fs::recursive_directory_iterator(prefix())) {
    if (!entry.is_directory()) installed.insert(entry.path().lexically_relative(prefix()));
  }
  const auto& known = desktop::OwnFiles::installed();
  std::set<std::string> erased{known.begin(), known.end()};
  if (!installed.contains("lib/Quillard.app/Resources/RelayConfig.plist")) {
    erased.erase("lib/Quillard.app/Resources/RelayConfig.plist");
  }
  EXPECT_EQ(installed, erased);
}

TEST_F(Installation, IsErasedWithAllThatIsKeptAndNothingElse) {
  const test::TemporaryFolder another;
  const std::string there = another.path() + "/home";
  fs::create_directories(there);
  fs::copy(prefix(), there + "/.local", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  for (const char* const path : {"/.config/autostart/com.quillard.agent.desktop", "/.config/quillard/settings.json",
                                 "/.local/share/quillard/decisions.log", "/.local/share/notes"}) {
    fs::create_directories(fs::path(there + path).parent_path());
    std::ofstream(there + path) << "{}";
    fs::permissions(there + path, fs::perms::owner_read | fs::perms::owner_write);
    fs::permissions(fs::path(there + path).parent_path(), fs::perms::owner_all);
  }
  const std::vector<std::string> environment{"HOME=" + there, "PATH=/usr/bin:/bin", "XDG_RUNTIME_DIR=" + there,
                                             "QUILLARD_RUN_NAME=none"};  // Whatever is up on this machine.
  const auto erase = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {there + "/.local/bin/quillard", "erase"});
    return ChildProcess({.command = std::move(options), .environment = environment, .input = {}}).wait();
  };
  EXPECT_EQ(erase({}), 3) << "Without a terminal it asks nobody.";
  EXPECT_TRUE(fs::exists(there + "/.local/bin/quillard"));
  EXPECT_EQ(erase({"--yes"}), 0);
  std::vector<std::string> left;
  for (const auto& entry : fs::recursive_directory_iterator(there)) {
    if (!entry.is_directory()) left.push_back(entry.path().lexically_relative(there));
  }
  EXPECT_EQ(left, std::vector<std::string>{".local/share/notes"});
}

TEST_F(Installation, IsAFolderOfTheApplicationALinkAndItsPapers) {
  EXPECT_TRUE(fs::is_regular_file(bundleFolder() + "/quillard"));
  EXPECT_TRUE(fs::is_regular_file(bundleFolder() + "/Info.plist"));
  EXPECT_EQ(fs::canonical(prefix() + "/bin/quillard"), fs::canonical(bundleFolder() + "/quillard"));
  EXPECT_FALSE(fs::read_symlink(prefix() + "/bin/quillard").is_absolute());  // It can be moved as a whole.
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/man/man1/quillard.1"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/applications/com.quillard.agent.desktop"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/metainfo/com.quillard.agent.metainfo.xml"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/icons/hicolor/scalable/apps/com.quillard.agent.svg"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/icons/hicolor/48x48/apps/com.quillard.agent.png"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/bash-completion/completions/quillard"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/zsh/site-functions/_quillard"));
  EXPECT_TRUE(fs::is_regular_file(prefix() + "/share/fish/vendor_completions.d/quillard.fish"));
}

TEST_F(Installation, InstallsNothingElse) {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(prefix())) {
    if (!entry.is_directory()) files.push_back(fs::relative(entry.path(), prefix()));
  }
  // The program, what it is, the link to it, its manual, entry and description, its icon as a drawing and ten pictures,
  // and completions for three shells.
  EXPECT_EQ(files.size(), 20U) << testing::PrintToString(files);
}

TEST_F(Installation, TheProgramFindsWhatItIs) {
  platform::simulated::SimulatedEnvironment environment;
  environment.set("HOME", home->path());
  const desktop::InstalledProgram program(bundleFolder() + "/quillard", environment);
  EXPECT_EQ(program.identifier(), "com.quillard.agent");
  EXPECT_EQ(program.informationText("CFBundleShortVersionString"), QUILLARD_VERSION);
  EXPECT_EQ(program.applicationDirectories().front(), prefix() + "/lib");
}

TEST_F(Installation, TheDesktopEntryIsValidAndStartsTheProgram) {
  const std::string entry = prefix() + "/share/applications/com.quillard.agent.desktop";
  ChildProcess validator(
      {.command = {"desktop-file-validate", entry}, .environment = test::presentEnvironment(), .input = {}});
  std::string errorText;
  while (const auto line = validator.readLine()) errorText += *line + "\n";
  EXPECT_EQ(validator.wait(), 0);
  EXPECT_EQ(errorText, "");
}

TEST_F(Installation, TellsItsVersion) {
  const auto said = run({"--version"});
  EXPECT_EQ(said.lines, (std::vector<std::string>{"quillard " QUILLARD_VERSION}));
  EXPECT_EQ(said.code, 0);
}

TEST_F(Installation, ExitsAsItsManualSays) {
  EXPECT_EQ(run({"--help"}).code, 0);
  EXPECT_EQ(run({"--no-such-option"}).code, 2);
  EXPECT_EQ(run({"record"}).code, 2);
  EXPECT_EQ(run({"doctor"}).code, 1);  // There is neither a display nor a relay.
  EXPECT_EQ(run({"scan"}).code, 3);
  EXPECT_EQ(run({"record", home->path() + "/desktop.json"}).code, 3);
  EXPECT_EQ(run({"pair"}).code, 3);
  EXPECT_EQ(run({}).code, 3);  // No display, no agent.
}

TEST_F(Installation, LeavesNothingBehindInTheHomeOfWhoOnlyLooked) {
  run({"doctor"});
  run({"scan"});
  for (const char* name : {"/.config", "/.local/share/quillard"}) EXPECT_FALSE(fs::exists(home->path() + name)) << name;
}

TEST_F(Installation, DoctorKnowsThatItIsInstalled) {
  const auto said = run({"doctor"});
  ASSERT_FALSE(said.lines.empty());
  EXPECT_EQ(said.lines.front(), "  ok     Installation      " + bundleFolder());
}

TEST_F(Installation, MayBringTheRelayThatItIsMadeFor) {
  fs::create_directory(bundleFolder() + "/Resources");
  const std::string file = bundleFolder() + "/Resources/RelayConfig.plist";
  {
    std::ofstream text(file);
    text << R"(<plist version="1.0"><dict><key>relayURL</key><string>ws://127.0.0.1:1/ws</string>)"
            R"(<key>pairingID</key><string>office</string></dict></plist>)";
  }
  const auto said = run({"doctor"});
  fs::remove_all(bundleFolder() + "/Resources");
  bool isNotified = false;
  for (const auto& line : said.lines)
    isNotified = isNotified || line.find("http://127.0.0.1:1 does not answer") != std::string::npos;
  EXPECT_TRUE(isNotified) << testing::PrintToString(said.lines);
}

}  // namespace
}  // namespace quillard
