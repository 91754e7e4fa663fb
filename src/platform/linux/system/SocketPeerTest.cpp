#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/system/RuntimeFolder.h"
#include "platform/linux/system/SocketPeer.h"
#include "platform/qt/QtExecutors.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

using platform::LocalConnectOutcome;

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

int listenAt(const std::string& path) {
  const auto address = addressOf(path);
  const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
  EXPECT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_EQ(::listen(listener, 1), 0);
  return listener;
}

class SocketPeer : public testing::Test {
 protected:
  SocketPeer() {
    std::filesystem::permissions(temporary.path(), std::filesystem::perms::owner_all);
    environment.set("XDG_RUNTIME_DIR", temporary.path());
  }
  [[nodiscard]] std::string path(const std::string& name) const { return temporary.path() + "/" + name; }
  LocalConnectOutcome connectTo(const std::string& name) { return sockets.connect(name).outcome; }

  const test::TemporaryFolder temporary;
  platform::simulated::SimulatedEnvironment environment;
  qt::QtExecutors executors;
  qt::QtLocalSockets sockets{localSocketTraits(environment), executors.mainThread()};
};

TEST_F(SocketPeer, OnlyTheUserMayUseTheSocket) {
  const auto listener = sockets.listen("own.socket", [](auto) {});
  ASSERT_NE(listener, nullptr);
  struct stat status {};
  ASSERT_EQ(::lstat(path("own.socket").c_str(), &status), 0);
  EXPECT_TRUE(S_ISSOCK(status.st_mode));
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temporary.path()), {}), 1) << "nothing is left beside it";
}

TEST_F(SocketPeer, ConnectsToNothingButASocketOfThisUser) {
  std::ofstream(path("file")) << "text";
  EXPECT_EQ(connectTo("file"), LocalConnectOutcome::refused);
  const auto listener = sockets.listen("own.socket", [](auto) {});
  std::filesystem::create_symlink(path("own.socket"), path("link"));
  EXPECT_EQ(connectTo("link"), LocalConnectOutcome::refused);
  EXPECT_EQ(connectTo("own.socket"), LocalConnectOutcome::connected);
}

TEST_F(SocketPeer, AListenerReplacesALinkInsteadOfFollowingIt) {
  std::ofstream(path("kept")) << "text";
  std::filesystem::create_symlink(path("kept"), path("own.socket"));
  const auto listener = sockets.listen("own.socket", [](auto) {});
  EXPECT_EQ(connectTo("own.socket"), LocalConnectOutcome::connected);
  EXPECT_TRUE(std::filesystem::is_regular_file(path("kept")));
}

TEST_F(SocketPeer, TakesTheSocketThatTheSystemOpened) {
  const int opened = listenAt(path("own.socket"));
  // As systemd hands it over: from the third descriptor on.
  const int former = ::dup(3);
  ASSERT_EQ(::dup2(opened, 3), 3);
  environment.set("LISTEN_FDS", "1");
  environment.set("LISTEN_PID", "1");
  EXPECT_FALSE(inheritedSocket(environment, "own.socket").has_value()) << "meant for another process";
  environment.set("LISTEN_PID", std::to_string(::getpid()));
  EXPECT_FALSE(inheritedSocket(environment, "another.socket").has_value());
  EXPECT_EQ(inheritedSocket(environment, "own.socket"), 3);
  for (const char* const count : {"", "0", "-1", "many"}) {
    environment.set("LISTEN_FDS", count);
    EXPECT_FALSE(inheritedSocket(environment, "own.socket").has_value()) << count;
  }
  ::close(3);
  if (former >= 0) {
    ::dup2(former, 3);
    ::close(former);
  }
  ::close(opened);
}

TEST_F(SocketPeer, TellsTheParentAndWhetherItIsThisProgram) {
  int pair[2] = {};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  const auto peer = peerOf(pair[0]);
  ::close(pair[0]);
  ::close(pair[1]);
  ASSERT_TRUE(peer.has_value());
  EXPECT_TRUE(peer->isThisProgram);
  EXPECT_EQ(peer->process.workingFolder, std::filesystem::current_path());
  ASSERT_TRUE(peer->parent.has_value());
  EXPECT_EQ(peer->parent->processIdentifier, ::getppid());
}

TEST_F(SocketPeer, TheSessionsManagerStandsForItsServicesAndForNobodyElse) {
  const platform::ProcessDescription manager{812, "/usr/lib/systemd/systemd", "systemd", "/"};
  const platform::ProcessDescription shell{900, "/usr/bin/bash", "bash", "/home/ann"};
  const std::string service = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/backup@home.service\n";
  EXPECT_EQ(starterOf(shell, service), shell) << "whoever lives has started it";
  for (const auto& cgroups : {service, "9:pids:/x\n1:name=systemd:" + service.substr(3) + "0::/\n"}) {
    const auto starter = starterOf(manager, cgroups);
    ASSERT_TRUE(starter.has_value()) << cgroups;
    EXPECT_EQ(starter->programName, "backup@home.service");
    EXPECT_EQ(starter->executable, "/usr/lib/systemd/systemd");
  }
  for (const char* const cgroups :
       {"", "0::/\n", "0::/user.slice/user-1000.slice/session-2.scope\n", "1:cpu:/fake.service\n", "fake.service",
        "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-terminal-31.scope\n",
        "0::/user.slice/user-1000.slice/user@1000.service\n"}) {
    EXPECT_EQ(starterOf(manager, cgroups), std::nullopt) << cgroups;
  }
}

TEST_F(SocketPeer, AnEndedProcessHasItsNumberAlone) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ASSERT_GT(child, 0);
  ::waitpid(child, nullptr, 0);
  EXPECT_EQ(describeProcess(child), platform::ProcessDescription{.processIdentifier = child});
}

TEST_F(SocketPeer, AnotherUserIsTurnedAway) {
  if (::geteuid() != 0) GTEST_SKIP() << "Only root can become another user.";
  const test::TemporaryFolder open;
  std::filesystem::permissions(open.path(), std::filesystem::perms::all);
  const int listener = listenAt(open.path() + "/socket");
  std::filesystem::permissions(open.path() + "/socket", std::filesystem::perms::all);
  const pid_t child = ::fork();
  if (child == 0) {
    const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
    // From its folder: another user may not reach it from the root folder.
    const auto address = addressOf("socket");
    if (::chdir(open.path().c_str()) != 0 || ::setuid(65534) != 0) ::_exit(1);
    ::_exit(::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ? 0 : 2);
  }
  int result = -1;
  ASSERT_EQ(::waitpid(child, &result, 0), child);
  ASSERT_EQ(result, 0);
  const int accepted = ::accept(listener, nullptr, nullptr);
  ASSERT_GE(accepted, 0);
  EXPECT_FALSE(peerOf(accepted).has_value());
  ::close(accepted);
  ::close(listener);
}

}  // namespace
}  // namespace quillard::desktop
