#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/system/InstalledProgram.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;

constexpr const char* kInformation = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>com.quillard.agent</string>
<key>CFBundleShortVersionString</key><string>1.2</string>
<key>LSUIElement</key><true/>
</dict></plist>
)";

class InstalledProgramTest : public testing::Test {
 protected:
  InstalledProgramTest() {
    environment.set("HOME", temporary.path());
    fs::create_directories(folder + "/Resources");
    std::ofstream(folder + "/Info.plist") << kInformation;
  }
  [[nodiscard]] InstalledProgram program() { return installedIn(folder); }
  [[nodiscard]] InstalledProgram installedIn(const std::string& place) { return {place + "/quillard", environment}; }
  void putResource(const std::string& text) const { std::ofstream(folder + "/Resources/RelayConfig.plist") << text; }

  const test::TemporaryFolder temporary;
  const std::string folder = temporary.path() + "/.local/lib/Quillard.app";
  platform::simulated::SimulatedEnvironment environment;
};

TEST_F(InstalledProgramTest, IsTheFolderThatHoldsTheProgram) {
  EXPECT_EQ(program().path(), folder);
  EXPECT_EQ(program().resolvedPath(), folder);
}

TEST_F(InstalledProgramTest, TellsWhatItsInformationSays) {
  EXPECT_EQ(program().identifier(), "com.quillard.agent");
  EXPECT_EQ(program().informationText("CFBundleShortVersionString"), "1.2");
  EXPECT_EQ(program().informationText("LSUIElement"), std::nullopt);  // No text.
  EXPECT_EQ(program().informationText("SUFeedURL"), std::nullopt);
}

TEST_F(InstalledProgramTest, HasNoIdentifierInABuildFolder) {
  const std::string build = temporary.path() + "/build/dev";
  fs::create_directories(build);
  std::ofstream(build + "/Info.plist") << kInformation;
  EXPECT_EQ(installedIn(build).path(), build);
  EXPECT_EQ(installedIn(build).identifier(), std::nullopt);
  EXPECT_EQ(installedIn(build).informationText("CFBundleShortVersionString"), std::nullopt);
}

TEST_F(InstalledProgramTest, HasNoIdentifierWhenItsInformationIsMissingOrBroken) {
  std::ofstream(folder + "/Info.plist") << "<plist><dict><key>CFBundle";
  EXPECT_EQ(program().identifier(), std::nullopt);
  fs::remove(folder + "/Info.plist");
  EXPECT_EQ(program().identifier(), std::nullopt);
  ASSERT_EQ(::mkfifo((folder + "/Info.plist").c_str(), 0600), 0);  // Nor is it held up by such a thing.
  EXPECT_EQ(program().identifier(), std::nullopt);
}

TEST_F(InstalledProgramTest, FollowsLinks) {
  const std::string link = temporary.path() + "/Link.app";
  fs::create_directory_symlink(folder, link);
  EXPECT_EQ(installedIn(link).path(), link);
  EXPECT_EQ(installedIn(link).resolvedPath(), folder);
  EXPECT_EQ(installedIn(link + "/../Link.app/.").resolvedPath(), folder);
}

TEST_F(InstalledProgramTest, ThePathStandsWhereItCannotBeFollowed) {
  EXPECT_EQ(installedIn("/nowhere/Quillard.app").resolvedPath(), "/nowhere/Quillard.app");
}

TEST_F(InstalledProgramTest, ReadsThePropertyListsThatCameWithIt) {
  EXPECT_EQ(program().propertyList("RelayConfig"), std::nullopt);
  putResource("<plist version=\"1.0\"><dict><key>relayURL</key><string>wss://relay</string></dict></plist>");
  const auto found = program().propertyList("RelayConfig");
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(std::get<platform::PropertyListTexts>(*found), (platform::PropertyListTexts{{"relayURL", "wss://relay"}}));
}

TEST_F(InstalledProgramTest, ReportsWhyAPropertyListCannotBeRead) {
  const auto descriptionNow = [this] {
    const auto found = program().propertyList("RelayConfig");
    return found ? std::get<platform::ResourceError>(*found).description : "absent";
  };
  putResource("no list");
  EXPECT_EQ(descriptionNow(), "The property list is malformed.");
  putResource("");
  EXPECT_EQ(descriptionNow(), "The property list is empty.");
  putResource(std::string(300 * 1024, 'x'));
  EXPECT_EQ(descriptionNow(), "It is too large");
  fs::remove(folder + "/Resources/RelayConfig.plist");
  fs::create_directory(folder + "/Resources/RelayConfig.plist");
  EXPECT_EQ(descriptionNow(), "It is not a plain file");
}

TEST_F(InstalledProgramTest, ReadsPropertyListsOfNoOtherFolder) {
  EXPECT_EQ(program().propertyList("../Info"), std::nullopt);
  EXPECT_EQ(program().propertyList(""), std::nullopt);
  EXPECT_EQ(program().propertyList(std::string_view("Info\0", 5)), std::nullopt);
}

TEST_F(InstalledProgramTest, TheUsersOwnFolderIsTheFirstOfThoseForApplications) {
  const auto directories = program().applicationDirectories();
  ASSERT_GE(directories.size(), 4U);
  EXPECT_EQ(directories[0], temporary.path() + "/.local/lib");
  EXPECT_EQ(directories[1], "/opt");
  EXPECT_EQ(directories[2], "/usr/local/lib");
  EXPECT_EQ(directories[3], "/usr/lib");
}

TEST_F(InstalledProgramTest, AHomeBehindALinkIsKnownByBothNames) {
  const std::string link = temporary.path() + "/home";
  fs::create_directory_symlink(temporary.path(), link);
  environment.set("HOME", link + "/");
  const auto directories = program().applicationDirectories();
  EXPECT_EQ(directories.front(), link + "/.local/lib");
  EXPECT_EQ(std::count(directories.begin(), directories.end(), temporary.path() + "/.local/lib"), 1);
}

TEST(OwnExecutable, IsThisProgram) {
  const auto path = InstalledProgram::ownExecutable();
  EXPECT_EQ(fs::path(path).filename(), "linux_test");
  EXPECT_TRUE(fs::path(path).is_absolute());
}

}  // namespace
}  // namespace quillard::desktop
