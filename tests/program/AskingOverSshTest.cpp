#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

// Asking over a real ssh: a server of the test's own at this computer, with keys of its own.
namespace quillard {
namespace {

namespace fs = std::filesystem;
using test::ChildProcess;
using test::waitUntil;

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

int freePort() {
  auto address = loopback(0);
  const int file = ::socket(AF_INET, SOCK_STREAM, 0);
  socklen_t length = sizeof(address);
  EXPECT_EQ(::bind(file, reinterpret_cast<const sockaddr*>(&address), length), 0);
  EXPECT_EQ(::getsockname(file, reinterpret_cast<sockaddr*>(&address), &length), 0);
  ::close(file);
  return ntohs(address.sin_port);
}

bool listensAt(int port) {
  const auto address = loopback(port);
  const int file = ::socket(AF_INET, SOCK_STREAM, 0);
  const bool isThere = ::connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  ::close(file);
  return isThere;
}

class AskingOverSsh : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(kServer) || !fs::exists("/usr/bin/ssh")) GTEST_SKIP() << "openssh-server is not installed";
    // Where the server of the system would make it.
    if (::geteuid() == 0) fs::create_directories("/run/sshd");
    fs::permissions(folder.path(), fs::perms::owner_all);
    for (const char* const key : {"host", "key"}) {
      ASSERT_EQ(run({"/usr/bin/ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", path(key)}), 0);
    }
    std::ofstream(path("sshd_config")) << "ListenAddress 127.0.0.1:" << port << "\nHostKey " << path("host")
                                       << "\nPidFile none\nUsePAM no\n"
                                       << "AuthorizedKeysFile " << path("key.pub")
                                       << "\nStrictModes no\nPasswordAuthentication no\n"
                                       << "KbdInteractiveAuthentication no\nPermitRootLogin yes\n";
    server = start({kServer, "-D", "-e", "-f", path("sshd_config")});
    ASSERT_TRUE(waitUntil([this] { return listensAt(port); }));
  }

  [[nodiscard]] std::string path(const std::string& name) const { return folder.path() + "/" + name; }
  std::unique_ptr<ChildProcess> start(const std::vector<std::string>& command,
                                      const std::vector<std::string>& more = {}) const {
    std::vector<std::string> environment{"PATH=" + folder.path() + ":/usr/bin:/bin", "HOME=" + folder.path(),
                                         "XDG_RUNTIME_DIR=" + folder.path(), "LC_ALL=C.UTF-8",
                                         "QT_QPA_PLATFORM=offscreen"};
    environment.insert(environment.end(), more.begin(), more.end());
    return std::make_unique<ChildProcess>(
        ChildProcess::Start{.command = command, .environment = environment, .input = {}});
  }
  int run(const std::vector<std::string>& command, const std::vector<std::string>& more = {}) const {
    return start(command, more)->wait().value_or(-1);
  }
  // Logs in with `identity` and runs a command there. `more`: options of ssh.
  [[nodiscard]] std::vector<std::string> login(const std::string& command, std::vector<std::string> more) const {
    const auto* const user = ::getpwuid(::geteuid());
    std::vector<std::string> all{"/usr/bin/ssh",
                                 "-F",
                                 "/dev/null",
                                 "-p",
                                 std::to_string(port),
                                 "-o",
                                 "StrictHostKeyChecking=no",
                                 "-o",
                                 "UserKnownHostsFile=" + path("known_hosts"),
                                 "-o",
                                 "BatchMode=yes"};
    all.insert(all.end(), more.begin(), more.end());
    all.insert(all.end(), {std::string(user ? user->pw_name : "") + "@127.0.0.1", command});
    return all;
  }
  [[nodiscard]] std::string remoteTool(const std::string& arguments) const {
    return "XDG_RUNTIME_DIR='" + folder.path() + "' HOME='" + folder.path() + "' '" QUILLARD_PROGRAM "' " + arguments;
  }
  // What waits, as `quillard answer` lists it.
  [[nodiscard]] std::string waiting() const {
    const auto listing = start({QUILLARD_PROGRAM, "answer"});
    std::string all;
    while (const auto line = listing->readLine()) all += *line + "\n";
    return all;
  }
  // At a terminal, which `script` makes.
  void answer(const std::string& label) const {
    const auto list = waiting();
    ASSERT_NE(list.find_first_not_of(" \n"), std::string::npos);
    const auto begin = list.find_first_not_of(" \n");
    const auto id = list.substr(begin, list.find_first_of(" \n", begin) - begin);
    EXPECT_EQ(
        run({"/usr/bin/script", "-qec", std::string(QUILLARD_PROGRAM) + " answer " + id + " " + label, "/dev/null"}), 0)
        << list;
  }

  static constexpr const char* kServer = "/usr/sbin/sshd";
  const test::TemporaryFolder folder;
  const int port = freePort();
  std::unique_ptr<ChildProcess> server;
};

TEST_F(AskingOverSsh, TheAnswerComesBackToWhoLoggedInAndGoesWithThem) {
  const auto agent = start({QUILLARD_PROGRAM});
  ASSERT_TRUE(waitUntil([this] { return fs::exists(path("com.quillard.agent.socket")); }));
  const std::string tool = remoteTool("ask --needs-computer --button Deploy --button Stop -- 'Deploy now?'");
  const auto asking = start(login(tool, {"-i", path("key")}));
  ASSERT_TRUE(waitUntil([this] { return waiting().find("Deploy now?") != std::string::npos; }));
  answer("Stop");
  EXPECT_EQ(asking->readLine(), "Stop");
  EXPECT_EQ(asking->wait(), 1);

  const auto atTerminal = start(login(tool, {"-tt", "-i", path("key")}));
  ASSERT_TRUE(waitUntil([this] { return waiting().find("Deploy now?") != std::string::npos; }));
  atTerminal->kill();
  EXPECT_TRUE(waitUntil([this] { return waiting().find("Deploy now?") == std::string::npos; }))
      << "the connection is gone, and the question with it";
}

TEST_F(AskingOverSsh, AKeyIsUsedWhenItIsConfirmedAndNotOtherwise) {
  // A `quillard` of the test's own.
  std::ofstream(path("quillard")) << "#!/bin/sh\nfor piece; do echo \"$piece\" >> '" << path("asked")
                                  << "'; done\ncat >/dev/null\nexit $(cat '" << path("ends") << "')\n";
  fs::permissions(path("quillard"), fs::perms::owner_all);
  const std::string socket = path("agent.socket");
  const auto keys = start({"/usr/bin/ssh-agent", "-D", "-a", socket},
                          {std::string("SSH_ASKPASS=") + ASKING_SCRIPTS + "/ssh-askpass", "SSH_ASKPASS_REQUIRE=force"});
  ASSERT_TRUE(waitUntil([&] { return fs::exists(socket); }));
  ASSERT_EQ(run({"/usr/bin/ssh-add", "-q", "-c", path("key")}, {"SSH_AUTH_SOCK=" + socket}), 0);
  // Out of the way, so that it is the agent's that is used.
  fs::rename(path("key"), path("key-elsewhere"));
  const auto command = login("echo in", {"-o", "IdentityAgent=" + socket});
  for (const auto& [ends, expected] : std::vector<std::pair<int, int>>{{1, 255}, {4, 255}, {0, 0}}) {
    std::ofstream(path("ends")) << ends;
    EXPECT_EQ(run(command), expected) << ends;
  }
  std::ifstream file(path("asked"));
  const std::string asked{std::istreambuf_iterator<char>(file), {}};
  EXPECT_NE(asked.find("Allow use of key"), std::string::npos) << asked;
}

}  // namespace
}  // namespace quillard
