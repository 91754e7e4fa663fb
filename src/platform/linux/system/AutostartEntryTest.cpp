#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/system/AutostartEntry.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using platform::LoginServiceStatus;
using test::ChildProcess;

constexpr const char* kProgram = "/home/ann/.local/lib/Quillard.app/quillard";

class AutostartEntryTest : public testing::Test {
 protected:
  AutostartEntryTest() { environment.set("XDG_CONFIG_HOME", temporary.path()); }
  [[nodiscard]] std::string folder() const { return temporary.path() + "/autostart"; }
  [[nodiscard]] std::string path() const { return folder() + "/com.quillard.agent.desktop"; }
  [[nodiscard]] std::string content() const {
    std::ostringstream text;
    text << std::ifstream(path(), std::ios::binary).rdbuf();
    return text.str();
  }
  void put(const std::string& text) const {
    fs::create_directories(folder());
    std::ofstream(path(), std::ios::binary | std::ios::trunc) << text;
  }
  [[nodiscard]] LoginServiceStatus status() const { return AutostartEntry(environment, kProgram).status(); }
  [[nodiscard]] std::optional<std::string> registerProgram(const std::string& program = kProgram) const {
    return AutostartEntry(environment, program).registerMainApplication();
  }

  const test::TemporaryFolder temporary;
  platform::simulated::SimulatedEnvironment environment;
};

TEST_F(AutostartEntryTest, IsNotThereAtFirst) {
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
  EXPECT_FALSE(fs::exists(folder()));  // Looking makes nothing.
}

TEST_F(AutostartEntryTest, RegisteringMakesAnEntryThatStartsTheProgram) {
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
  EXPECT_NE(content().find("Exec=\"/home/ann/.local/lib/Quillard.app/quillard\"\n"), std::string::npos) << content();
  EXPECT_NE(content().find("\nTryExec=/home/ann/.local/lib/Quillard.app/quillard\n"), std::string::npos)
      << "Removed, it is not started any more.";
  struct stat file {};
  ASSERT_EQ(::stat(path().c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777U, 0644U);
}

TEST_F(AutostartEntryTest, LeavesNothingElseInTheFolder) {
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder()), fs::directory_iterator{}), 1);
}

TEST_F(AutostartEntryTest, IsValidWhateverThePathOfTheProgram) {
  for (const std::string program :
       {kProgram, "/home/a b/100%/quillard", "/home/it's \"x\"/q", "/home/$HOME/`x`/q", "/home/a\\b/q"}) {
    fs::remove(path());
    ASSERT_EQ(registerProgram(program), std::nullopt);
    EXPECT_EQ(AutostartEntry(environment, program).status(), LoginServiceStatus::enabled) << program;
    ChildProcess validator(
        {.command = {"desktop-file-validate", path()}, .environment = test::presentEnvironment(), .input = {}});
    std::string errorText;
    while (const auto line = validator.readLine()) errorText += *line + "\n";
    EXPECT_EQ(validator.wait(), 0) << errorText << content();
    EXPECT_EQ(errorText, "") << content();
  }
}

TEST_F(AutostartEntryTest, RegisteringAtEveryLaunchDoesNotTouchAGoodEntry) {
  const std::string own =
      "[Desktop Entry]\nType=Application\nName=My own\nExec=" + std::string(kProgram) + " --later\n";
  put(own);
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(content(), own);
}

class SwitchedOffEntry : public AutostartEntryTest, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Desktops, SwitchedOffEntry,
                         testing::Values("Hidden=true", "X-GNOME-Autostart-enabled=false",
                                         "X-MATE-Autostart-enabled=false"));

TEST_P(SwitchedOffEntry, StaysSwitchedOffHoweverOftenTheProgramRegisters) {
  ASSERT_EQ(registerProgram(), std::nullopt);
  const std::string chosen = content() + GetParam() + "\n";
  put(chosen);
  EXPECT_EQ(status(), LoginServiceStatus::requiresApproval);
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(registerProgram("/opt/Quillard.app/quillard"), std::nullopt);  // An install in another place, too.
  EXPECT_EQ(content(), chosen);
  EXPECT_EQ(status(), LoginServiceStatus::requiresApproval);
}

TEST_F(AutostartEntryTest, AnEntryThatHoldsNothingButHiddenIsTheUsersChoice) {
  put("[Desktop Entry]\nHidden=true\n");
  EXPECT_EQ(status(), LoginServiceStatus::requiresApproval);
}

TEST_F(AutostartEntryTest, SwitchedOnAgainItIsEnabled) {
  put("[Desktop Entry]\nExec=" + std::string(kProgram) + "\nHidden=false\nX-GNOME-Autostart-enabled=true\n");
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
}

TEST_F(AutostartEntryTest, AnEntryOfAnOlderInstallIsRewritten) {
  ASSERT_EQ(registerProgram("/opt/old/quillard"), std::nullopt);
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
}

TEST_F(AutostartEntryTest, TheUnitOfThePackageTakesItsPlaceOnceTheUserHasSwitchedThatOn) {
  const std::string wanted = temporary.path() + "/systemd/user/graphical-session.target.wants";
  fs::create_directories(wanted);
  fs::create_symlink("/usr/lib/systemd/user/quillard.service", wanted + "/quillard.service");
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_FALSE(fs::exists(path()));
  fs::remove(wanted + "/quillard.service");
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
}

TEST_F(AutostartEntryTest, WhatIsNoEntryIsReplaced) {
  for (const std::string text : {"", "not an entry", "[Desktop Entry]\nType=Application\n", "\xFF\xFE"}) {
    put(text);
    EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
    EXPECT_EQ(registerProgram(), std::nullopt);
    EXPECT_EQ(status(), LoginServiceStatus::enabled);
  }
  put(std::string(100'000, '#'));  // Larger than any entry.
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
}

TEST_F(AutostartEntryTest, ALinkIsReadButNeverWrittenThrough) {
  const std::string elsewhere = temporary.path() + "/elsewhere.desktop";
  std::ofstream(elsewhere) << "[Desktop Entry]\nExec=/opt/old/quillard\n";
  fs::create_directories(folder());
  fs::create_symlink(elsewhere, path());
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
  EXPECT_EQ(registerProgram(), std::nullopt);
  EXPECT_EQ(status(), LoginServiceStatus::enabled);
  EXPECT_FALSE(fs::is_symlink(path()));
  EXPECT_EQ(fs::file_size(elsewhere), 39U);
}

TEST_F(AutostartEntryTest, IsNotHeldUpByAPipeInItsPlace) {
  fs::create_directories(folder());
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
}

TEST_F(AutostartEntryTest, SaysWhyItCannotBeWritten) {
  std::ofstream(folder()) << "a file in the folder's place";
  const auto error = registerProgram();
  ASSERT_TRUE(error.has_value());
  EXPECT_NE(error->find(folder()), std::string::npos) << *error;
  EXPECT_EQ(status(), LoginServiceStatus::notRegistered);
  fs::remove(folder());

  fs::create_directories(path());  // A folder in the entry's place.
  std::ofstream(path() + "/occupied") << "";
  const auto replaced = registerProgram();
  ASSERT_TRUE(replaced.has_value());
  EXPECT_NE(replaced->find(path()), std::string::npos) << *replaced;
  EXPECT_EQ(std::distance(fs::directory_iterator(folder()), fs::directory_iterator{}), 1);  // Nothing half-made.
}

TEST_F(AutostartEntryTest, FollowsTheConventionWhereNothingIsSet) {
  platform::simulated::SimulatedEnvironment plain;
  plain.set("HOME", "/home/ann");
  EXPECT_EQ(AutostartEntry(plain, kProgram).autostartFolder(), "/home/ann/.config/autostart");
}

}  // namespace
}  // namespace quillard::desktop
