#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/system/AutostartEntry.h"
#include "platform/linux/system/OwnFiles.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

class OwnFilesTest : public testing::Test {
 protected:
  OwnFilesTest() {
    environment.set("HOME", at("home"));
    environment.set("XDG_RUNTIME_DIR", at("run"));
    environment.set("TMPDIR", at("tmp"));
    for (const char* const name : {"home", "run", "tmp"}) fs::create_directory(at(name));
  }
  [[nodiscard]] std::string at(const std::string& path) const { return folder.path() + "/" + path; }
  void write(const std::string& path) const {
    fs::create_directories(fs::path(at(path)).parent_path());
    std::ofstream(at(path)) << "x";
  }
  void write(const std::string& path, const std::string& contents) const {
    write(path);
    std::ofstream(at(path)) << contents;
  }
  // As an installation below ~/.local puts it there.
  void install() const {
    for (const auto& path : OwnFiles::installed()) write("home/.local/" + path);
    fs::remove(at("home/.local/bin/quillard"));
    fs::create_symlink("../lib/Quillard.app/quillard", at("home/.local/bin/quillard"));
    write(kMenuEntry,
          "[Desktop Entry]\nType=Application\nExec=\"" + at("home/.local/lib/Quillard.app/quillard") + "\"\n");
  }
  // A process of this user as the kernel shows it, started with these variables.
  void startAgent(const std::string& variables, const std::string& argument = "--verbose") const {
    write("proc/7/status", "Name:\tquillard\nState:\tS (sleeping)\nUid:\t" + std::to_string(::geteuid()) + "\t" +
                               std::to_string(::geteuid()) + "\t0\t0\n");
    write("proc/7/cmdline", "quillard" + std::string(1, '\0') + argument + std::string(1, '\0'));
    write("proc/7/environ", "XDG_RUNTIME_DIR=" + at("run") + std::string(1, '\0') + variables + std::string(1, '\0'));
    fs::create_symlink("/usr/lib/Quillard.app/quillard", at("proc/7/exe"));
  }
  static constexpr const char* kMenuEntry = "home/.local/share/applications/com.quillard.agent.desktop";
  [[nodiscard]] std::vector<std::string> left() const {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      if (!entry.is_directory()) paths.push_back(entry.path().lexically_relative(folder.path()));
    }
    return paths;
  }

  const test::TemporaryFolder folder;
  platform::simulated::SimulatedEnvironment environment;
  proc::DesktopEntries entries{environment};
  EntryCopies copies{environment, entries};
  proc::ProcessTable processes{at("proc"), ::geteuid()};
  OwnFiles files{environment, copies, processes};
};

TEST_F(OwnFilesTest, AreFoundAndDeletedWithTheirFolders) {
  for (const char* const path :
       {"home/.config/quillard/settings.json", "home/.config/quillard/settings.json.damaged-2",
        "home/.local/share/quillard/decisions.log", "home/.local/share/quillard/decisions.log.new",
        "home/.local/share/quillard/secrets", "home/.local/share/quillard-relay/relay.db",
        "home/.local/share/quillard-relay/agent.log", "run/com.quillard.agent.socket", "run/com.quillard.agent.lock"}) {
    write(path);
  }
  install();
  AutostartEntry login(environment, at("home/.local/lib/Quillard.app/quillard"));
  ASSERT_EQ(login.registerMainApplication(), std::nullopt);

  EXPECT_EQ(files.found().front(), at("home/.config/autostart/com.quillard.agent.desktop"));
  EXPECT_THAT(files.eraseLoginStarts(), IsEmpty());
  EXPECT_EQ(login.status(), platform::LoginServiceStatus::notRegistered);
  EXPECT_THAT(files.erase(), IsEmpty());
  EXPECT_THAT(files.found(), IsEmpty());
  EXPECT_THAT(left(), IsEmpty());
  for (const char* const own : {".config/quillard", ".local/share/quillard", ".local/share/quillard-relay",
                                ".local/lib/Quillard.app", ".local/share/icons/hicolor/48x48/apps"}) {
    EXPECT_FALSE(fs::exists(at("home/") + own)) << own;
  }
}

TEST_F(OwnFilesTest, LeaveEverythingElseAlone) {
  const std::vector<std::string> others{"home/.config/autostart/another.desktop", "home/.config/quillard/notes",
                                        "home/.config/quillard/settings.json.damaged-x", "home/.local/bin/another",
                                        "home/.local/lib/Quillard.app/Resources/own"};
  for (const auto& path : others) write(path);
  write("home/.config/quillard/settings.json");
  write("home/.config/autostart/com.quillard.agent.desktop");
  EXPECT_THAT(files.eraseLoginStarts(), IsEmpty());
  EXPECT_THAT(files.erase(), ElementsAre(HasSubstr(at("home/.config/quillard") + " holds files of other names")));
  EXPECT_THAT(left(), UnorderedElementsAreArray(others));
}

TEST_F(OwnFilesTest, DeleteALinkAndNotWhatItLeadsTo) {
  write("elsewhere/settings.json");
  fs::create_directories(at("home/.config/quillard"));
  fs::create_symlink(at("elsewhere/settings.json"), at("home/.config/quillard/settings.json"));
  EXPECT_THAT(files.erase(), IsEmpty());
  EXPECT_THAT(left(), ElementsAre("elsewhere/settings.json"));
}

TEST_F(OwnFilesTest, DoNotFollowALinkInThePlaceOfTheirFolder) {
  write("elsewhere/settings.json");
  fs::create_directories(at("home/.config"));
  fs::create_directory_symlink(at("elsewhere"), at("home/.config/quillard"));
  EXPECT_THAT(files.found(), ElementsAre(at("home/.config/quillard")));
  EXPECT_THAT(files.erase(), IsEmpty());
  EXPECT_THAT(left(), ElementsAre("elsewhere/settings.json"));
}

TEST_F(OwnFilesTest, HoldNoProgramOfTheUsersOwnUnderTheirNames) {
  write("home/.local/bin/quillard");
  write("home/.local/share/man/man1/quillard.1");
  write(kMenuEntry, "[Desktop Entry]\nExec=\"/opt/quillard/start\"\n");
  EXPECT_THAT(files.found(), IsEmpty());
  write("home/.local/lib/Quillard.app/quillard");
  EXPECT_THAT(files.erase(), IsEmpty());
  EXPECT_THAT(left(), UnorderedElementsAreArray({std::string("home/.local/bin/quillard"), std::string(kMenuEntry)}));
}

TEST_F(OwnFilesTest, LeaveEmptyFoldersThatOthersUse) {
  install();
  write("home/.config/autostart/com.quillard.agent.desktop");
  for (const char* const path : {"home/.local/share/applications", "home/.local/bin", "home/.config/autostart"}) {
    fs::create_directories(at(path));
  }
  EXPECT_THAT(files.eraseLoginStarts(), IsEmpty());
  EXPECT_THAT(files.erase(), IsEmpty());
  for (const char* const path : {"home/.local/share/applications", "home/.local/bin", "home/.config/autostart"}) {
    EXPECT_TRUE(fs::exists(at(path))) << path;
  }
}

TEST_F(OwnFilesTest, HoldWhatWritesThatWereCutOffLeft) {
  const std::string other = "home/.config/autostart/com.quillard.agent.desktop.backup";
  write(other);
  for (const char* const path : {"home/.config/autostart/com.quillard.agent.desktop.a1B2c3",
                                 "home/.local/share/applications/code.desktop.quillard-new",
                                 "home/.local/share/applications/kde/code.desktop.quillard-new.a1B2c3"}) {
    write(path);
  }
  EXPECT_EQ(files.found().size(), 3U);
  EXPECT_THAT(files.eraseLoginStarts(), IsEmpty());
  EXPECT_THAT(files.erase(), IsEmpty());
  EXPECT_THAT(left(), ElementsAre(other));
}

TEST_F(OwnFilesTest, LieInTheUsualFoldersTooWhereTheShellNamesOthers) {
  environment.set("XDG_CONFIG_HOME", at("config"));
  environment.set("XDG_DATA_HOME", at("data"));
  for (const char* const path :
       {"config/quillard/settings.json", "home/.config/quillard/settings.json", "data/quillard/secrets",
        "home/.local/share/quillard/secrets", "home/.config/autostart/com.quillard.agent.desktop"}) {
    write(path);
  }
  EXPECT_THAT(files.eraseLoginStarts(), IsEmpty());
  EXPECT_THAT(files.erase(), IsEmpty());
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(OwnFilesTest, LieWhereTheAgentThatRunsWasToldTo) {
  EXPECT_EQ(files.agentsOtherFolders(), std::nullopt) << "none runs";
  startAgent("XDG_CONFIG_HOME=/session/config");
  EXPECT_EQ(files.agentsOtherFolders(), "XDG_CONFIG_HOME=/session/config");
  environment.set("XDG_CONFIG_HOME", "/session/config");
  EXPECT_EQ(files.agentsOtherFolders(), std::nullopt);
  environment.set("XDG_DATA_HOME", "/shell/data");
  EXPECT_EQ(files.agentsOtherFolders(), "XDG_DATA_HOME=" + at("home/.local/share")) << "the agent's is the usual one";
}

TEST_F(OwnFilesTest, LieWhereNoToolAndNoOtherSessionSays) {
  startAgent("XDG_CONFIG_HOME=/session/config", "status");
  EXPECT_EQ(files.agentsOtherFolders(), std::nullopt) << "a tool";
  fs::remove_all(at("proc/7"));
  startAgent("XDG_CONFIG_HOME=/session/config");
  environment.set("XDG_RUNTIME_DIR", at("run2"));
  EXPECT_EQ(files.agentsOtherFolders(), std::nullopt) << "another session's";
}

// By the address that a ./run takes.
TEST_F(OwnFilesTest, AreInUseWhileATrialIsUp) {
  environment.set("QUILLARD_RUN_NAME", "own-files-" + std::to_string(::getpid()));
  EXPECT_FALSE(files.areInUse());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const auto name = "quillard-run-" + std::to_string(::geteuid()) + "-own-files-" + std::to_string(::getpid());
  name.copy(&address.sun_path[1], name.size());
  const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(listener, 1), 0);
  EXPECT_TRUE(files.areInUse());
  ::close(listener);
  EXPECT_FALSE(files.areInUse());
}

TEST_F(OwnFilesTest, KeepTheProgramThatHasToTryAgain) {
  install();
  write("home/.config/quillard/settings.json");
  write("home/.config/quillard/notes");
  EXPECT_EQ(files.erase().size(), 1U);
  EXPECT_TRUE(fs::exists(at("home/.local/lib/Quillard.app/quillard")));
  EXPECT_TRUE(fs::exists(at("home/.local/bin/quillard")));
  EXPECT_FALSE(fs::exists(at("home/.config/quillard/settings.json")));
}

TEST_F(OwnFilesTest, HoldAUnitOfThePackageThatTheUserSwitchedOn) {
  const auto wants = at("home/.config/systemd/user/graphical-session.target.wants");
  fs::create_directories(wants);
  fs::create_symlink("/lib/systemd/user/quillard.service", wants + "/quillard.service");
  EXPECT_THAT(files.found(), ElementsAre(wants + "/quillard.service"));
  EXPECT_THAT(files.eraseLoginStarts(), IsEmpty());
  EXPECT_THAT(files.found(), IsEmpty());
}

}  // namespace
}  // namespace quillard::desktop
