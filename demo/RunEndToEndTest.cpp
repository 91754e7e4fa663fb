#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "demo/Service.h"
#include "private-desktop/DesktopKind.h"
#include "private-desktop/FileContents.h"
#include "private-desktop/PrivateDesktop.h"
#include "private-desktop/TemporaryFolder.h"
#include "private-desktop/Waiting.h"
#include "support/SanitizerOptions.h"

// ./run on a machine without a display, as a person starts it, on what is built here: agent, relay, phone and prompt
// are programs of their own, and all of them go.
namespace quillard {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using demo::Service;
using privatedesktop::fileContents;
using privatedesktop::waitFor;

constexpr auto kTimeout = 60s;
constexpr const char* kIsUp = "Ctrl-C ends all of it";

// Those of this process. Programs that lost their parent become ours, too.
std::set<pid_t> children() {
  std::set<pid_t> found;
  std::ifstream list("/proc/self/task/" + std::to_string(::getpid()) + "/children");
  for (pid_t pid = 0; list >> pid;) {
    if (::waitpid(pid, nullptr, WNOHANG) != pid) found.insert(pid);
  }
  return found;
}

std::vector<std::string> entries(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code gone;  // Of a folder that goes while it is read.
  for (auto entry = fs::recursive_directory_iterator(folder, gone); entry != fs::recursive_directory_iterator();
       entry.increment(gone)) {
    found.push_back(entry->path());
    if (gone) break;
  }
  return found;
}

// Programs whose environment holds `entry`.
std::vector<std::string> programsWith(const std::string& entry) {
  std::vector<std::string> found;
  for (const auto& process : fs::directory_iterator("/proc")) {
    const std::string path = process.path();
    if (fileContents(path + "/environ").find(entry) != std::string::npos)
      found.push_back(fileContents(path + "/cmdline"));
  }
  return found;
}

class RunEndToEnd : public testing::Test {
 protected:
  RunEndToEnd() {
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    ownChildren = children();
    for (const char* name : {"home", "tmp", "out"}) fs::create_directory(place.path() + "/" + name);
  }

  // ./run with these options; what it prints goes to a file of that name. Without a display, unless one was given.
  [[nodiscard]] Service::Start start(const std::string& name, const std::vector<std::string>& options) const {
    Service::Start start{.command = {QUILLARD_PROJECT "/run"}, .logFile = place.path() + "/out/" + name};
    start.command.insert(start.command.end(), options.begin(), options.end());
    start.environment = desktop ? desktop->environment()
                                : demo::Variables{"HOME=" + place.path() + "/home", "TMPDIR=" + place.path() + "/tmp",
                                                  "PATH=" + std::string(std::getenv("PATH"))};
    if (!desktop) {
      const auto passedOn = test::sanitizerOptions();
      start.environment.insert(start.environment.end(), passedOn.begin(), passedOn.end());
    }
    start.environment.insert(start.environment.end(),
                             {"QUILLARD_BUILD_FOLDER=" QUILLARD_BUILD, "QUILLARD_DIALOG_DIAGNOSTICS=1", mark});
    return start;
  }
  [[nodiscard]] std::string printedBy(const std::string& name) const {
    return fileContents(place.path() + "/out/" + name);
  }
  [[nodiscard]] bool waitUntilPrinted(const std::string& name, const std::string& text) const {
    return waitFor([&] { return printedBy(name).find(text) != std::string::npos; }, kTimeout);
  }
  // What the agent said on `desktop`.
  [[nodiscard]] std::string agentLog() const {
    return fileContents(desktop->folder("data") + "/quillard-relay/agent.log");
  }
  // Its exit code.
  std::optional<int> runToItsEnd(const std::string& name, const std::vector<std::string>& options) const {
    return Service(start(name, options)).waitForEnd(kTimeout);
  }
  // The last programs may need some time to end after the one that was waited for.
  void expectNothingLeft() const {
    EXPECT_TRUE(waitFor([this] { return children() == ownChildren; }));
    for (const char* folder : {"/tmp", "/home"}) {
      const auto left = [&] {
        auto found = entries(place.path() + folder);
        // The thread sanitizer's own, of a process that was killed while it began.
        std::erase_if(found, [](const auto& path) { return path.find("/tsan.rodata.") != std::string::npos; });
        return found;
      };
      EXPECT_TRUE(waitFor([&] { return left().empty(); })) << folder << ": " << testing::PrintToString(left());
    }
  }
  // What is called after us in the home and the other folders of the desktop's user.
  [[nodiscard]] std::vector<std::string> ours() const {
    std::vector<std::string> found;
    for (const char* const name : {"home", "data", "config", "run", "cache", "state", "tmp"}) {
      for (const auto& path : entries(desktop->folder(name))) {
        const auto file = fs::path(path).filename().string();
        if (file.find("uillard") != std::string::npos) found.push_back(path);
      }
    }
    return found;
  }
  void expectNoProgramLeft() const {
    EXPECT_TRUE(waitFor([this] { return programsWith(mark).empty(); }));
  }

  const std::string mark = "QUILLARD_RUN_NAME=test-" + std::to_string(::getpid());
  const privatedesktop::TemporaryFolder place;
  std::set<pid_t> ownChildren;                            // Such as who looks after `place`.
  std::optional<privatedesktop::PrivateDesktop> desktop;  // Stands for the user's own.
};

TEST_F(RunEndToEnd, APhoneInTheTerminalAnswersAndEverythingEnds) {
  // The other button is pressed where the usual port is taken.
  EXPECT_EQ(runToItsEnd("run", {"--phone", "--answer", "Don't Allow"}), 0) << printedBy("run");
  EXPECT_NE(printedBy("run").find("The sample prompt was answered: Don't Allow.\n"), std::string::npos)
      << printedBy("run");
  expectNothingLeft();
}

TEST_F(RunEndToEnd, EndsWithTheSignalsOfATerminalAndLeavesNothing) {
  for (const int signal : {SIGINT, SIGHUP}) {  // SIGTERM ends the one that later ones join.
    const std::string name = std::to_string(signal);
    Service running(start(name, {}));
    ASSERT_TRUE(waitUntilPrinted(name, kIsUp)) << printedBy(name);
    ::kill(-running.id(), signal);  // To all of its group, as a terminal does.
    EXPECT_EQ(running.waitForEnd(kTimeout), 128 + signal) << printedBy(name);
    expectNothingLeft();
  }
}

TEST_F(RunEndToEnd, EndsImmediatelyWhileItComesUp) {
  Service running(start("early", {}));
  ASSERT_TRUE(waitFor([&] { return !entries(place.path() + "/tmp").empty(); }, kTimeout)) << printedBy("early");
  ::kill(-running.id(), SIGINT);
  EXPECT_EQ(running.waitForEnd(kTimeout), 128 + SIGINT) << printedBy("early");
  expectNothingLeft();
}

TEST_F(RunEndToEnd, KilledOutrightItLeavesNothingEither) {
  Service running(start("killed", {}));
  ASSERT_TRUE(waitUntilPrinted("killed", kIsUp)) << printedBy("killed");
  ::kill(running.id(), SIGKILL);
  EXPECT_EQ(running.waitForEnd(kTimeout), 128 + SIGKILL);
  expectNothingLeft();
}

TEST_F(RunEndToEnd, LaterOnesJoinTheOneThatIsUp) {
  Service running(start("first", {}));
  ASSERT_TRUE(waitUntilPrinted("first", kIsUp)) << printedBy("first");
  EXPECT_EQ(runToItsEnd("second", {"--phone", "--answer", "Don't Allow"}), 0) << printedBy("second");
  EXPECT_TRUE(waitUntilPrinted("first", "The sample prompt was answered: Don't Allow.\n")) << printedBy("first");
  // The next prompt has come meanwhile.
  EXPECT_EQ(runToItsEnd("third", {"--phone", "--answer", "Allow"}), 0) << printedBy("third");
  EXPECT_TRUE(waitUntilPrinted("first", "The sample prompt was answered: Allow.\n")) << printedBy("first");
  EXPECT_EQ(runToItsEnd("once more", {}), 1);
  EXPECT_NE(printedBy("once more").find("is up already"), std::string::npos) << printedBy("once more");
  EXPECT_FALSE(running.exitCode());
  running.end(kTimeout);
  EXPECT_EQ(running.exitCode(), 128 + SIGTERM) << printedBy("first");
  expectNothingLeft();
}

TEST_F(RunEndToEnd, TellsTheTextOfThePairingWhenAskedOnly) {
  EXPECT_EQ(runToItsEnd("too early", {"--pair"}), 1);
  EXPECT_NE(printedBy("too early").find("No ./run is up"), std::string::npos) << printedBy("too early");
  Service running(start("first", {}));
  ASSERT_TRUE(waitUntilPrinted("first", kIsUp)) << printedBy("first");
  EXPECT_EQ(printedBy("first").find("e2eSecret"), std::string::npos);  // A file is no terminal.
  EXPECT_EQ(runToItsEnd("refused", {"--pair"}), 3) << printedBy("refused");
  EXPECT_EQ(printedBy("refused").find("e2eSecret"), std::string::npos);
  EXPECT_EQ(runToItsEnd("pairing", {"--pair", "--force"}), 0);
  const auto text = printedBy("pairing");
  const auto read = nlohmann::json::parse(text.substr(0, text.find('\n')), nullptr, /*allow_exceptions=*/false);
  ASSERT_TRUE(read.is_object());
  const std::string page = read.at("backendURL");
  EXPECT_NE(printedBy("first").find("Open the phone's page:  " + page + "\n"), std::string::npos) << printedBy("first");
  running.end(kTimeout);
  expectNothingLeft();
}

// The port that `./run` takes first, taken by somebody else.
class TakenUsualPort {
 public:
  TakenUsualPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(8080);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;  // Also right after somebody else has left it.
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    // When this fails, another process has the port, which is as good.
    static_cast<void>(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    static_cast<void>(::listen(socket, 1));
  }
  ~TakenUsualPort() { ::close(socket); }
  TakenUsualPort(const TakenUsualPort&) = delete;
  TakenUsualPort& operator=(const TakenUsualPort&) = delete;

 private:
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

TEST_F(RunEndToEnd, TakesAnotherPortWhenTheUsualOneIsTaken) {
  const TakenUsualPort taken;
  EXPECT_EQ(runToItsEnd("run", {"--phone", "--answer", "Allow"}), 0) << printedBy("run");
  EXPECT_NE(printedBy("run").find("The sample prompt was answered: Allow.\n"), std::string::npos) << printedBy("run");
  EXPECT_NE(printedBy("run").find("http://127.0.0.1:"), std::string::npos) << printedBy("run");
  EXPECT_EQ(printedBy("run").find("http://127.0.0.1:8080 "), std::string::npos) << printedBy("run");
  expectNothingLeft();
}

TEST_F(RunEndToEnd, OnADesktopItIsInstalledForItsUserAndSampledWhenAsked) {
  desktop.emplace();
  const std::string home = desktop->folder("home");
  {
    Service running(start("first", {}));
    ASSERT_TRUE(waitUntilPrinted("first", "Ctrl-C ends Quillard")) << printedBy("first");
    EXPECT_TRUE(fs::exists(home + "/.local/lib/Quillard.app/quillard"));
    Service sample(start("sample", {"--sample"}));
    EXPECT_EQ(runToItsEnd("phone", {"--phone", "--answer", "Allow"}), 0) << printedBy("phone") << printedBy("first");
    EXPECT_EQ(sample.waitForEnd(kTimeout), 0);
    EXPECT_EQ(printedBy("sample"), "The sample prompt was answered: Allow.\n");
    running.end(kTimeout);
    EXPECT_EQ(running.exitCode(), 128 + SIGTERM) << printedBy("first");
  }
  expectNoProgramLeft();
  // The pairing outlives it, so that a paired browser stays paired; also when the port is another one next time.
  const TakenUsualPort taken;
  EXPECT_TRUE(fs::exists(desktop->folder("data") + "/quillard-relay/relay.db"));
  EXPECT_EQ(runToItsEnd("again", {"--sample", "--phone", "--answer", "Don't Allow"}), 0) << printedBy("again");
  EXPECT_NE(printedBy("again").find("The sample prompt was answered: Don't Allow.\n"), std::string::npos)
      << printedBy("again");
  expectNoProgramLeft();
  EXPECT_THAT(ours(), testing::Not(testing::Contains(testing::HasSubstr("autostart"))))
      << "A trial leaves an agent without a relay, which starts at each login.";
  EXPECT_THAT(ours(), testing::Not(testing::IsEmpty()));
  EXPECT_EQ(runToItsEnd("uninstall", {"--uninstall", "--yes"}), 0) << printedBy("uninstall");
  EXPECT_THAT(ours(), testing::IsEmpty()) << printedBy("uninstall");
}

// As the README says, and nothing else.
class RunOnAnyDesktop : public RunEndToEnd, public testing::WithParamInterface<privatedesktop::DesktopKind> {};

TEST_P(RunOnAnyDesktop, LeadsToAnAnsweredPrompt) {
  if (const auto missing = privatedesktop::missingFor(GetParam())) GTEST_SKIP() << *missing;
  desktop.emplace(privatedesktop::PrivateDesktopOptions{.kind = GetParam()});
  EXPECT_EQ(runToItsEnd("run", {"--sample", "--phone", "--answer", "Don't Allow"}), 0)
      << printedBy("run") << agentLog();
  EXPECT_NE(printedBy("run").find("The sample prompt was answered: Don't Allow.\n"), std::string::npos)
      << printedBy("run");
  expectNoProgramLeft();
}

// What people have: a program that ran before it asks, and no sample.
TEST_P(RunOnAnyDesktop, AProgramThatRunsAlreadyIsAnswered) {
  if (const auto missing = privatedesktop::missingFor(GetParam())) GTEST_SKIP() << *missing;
  desktop.emplace(privatedesktop::PrivateDesktopOptions{.kind = GetParam()});
  Service running(start("run", {}));
  ASSERT_TRUE(waitUntilPrinted("run", "Ctrl-C ends Quillard")) << printedBy("run");
  Service phone(start("phone", {"--phone", "--answer", "Don't Allow"}));
  // All that its start sets off is over when it asks; a look at everything comes after five minutes only.
  auto program = desktop->launch(
      "gtk3_prompt", {"--kind", "dialog", "--title", "Permission", "--text", "May it go on?", "--button", "Don't Allow",
                      "--button", "Allow", "--parent", "Document", "--prompt-after", "6000"});
  constexpr int kFirstButton = 10;
  EXPECT_EQ(program.wait(kTimeout), kFirstButton) << printedBy("run") << printedBy("phone");
  EXPECT_EQ(phone.waitForEnd(kTimeout), 0) << printedBy("phone");
  running.end(kTimeout);
  EXPECT_EQ(running.exitCode(), 128 + SIGTERM) << printedBy("run");
  expectNoProgramLeft();
}

std::string nameOfKind(const testing::TestParamInfo<privatedesktop::DesktopKind>& kind) {
  return privatedesktop::nameOf(kind.param);
}

INSTANTIATE_TEST_SUITE_P(Small, RunOnAnyDesktop, testing::Values(privatedesktop::DesktopKind::sway), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Large, RunOnAnyDesktop,
                         testing::Values(privatedesktop::DesktopKind::kwin, privatedesktop::DesktopKind::gnome),
                         nameOfKind);

TEST_F(RunEndToEnd, SaysWhatToDoWhereTheDisplayIsGone) {
  auto unreachable = start("gone", {});
  unreachable.environment.emplace_back("DISPLAY=:64999");
  EXPECT_EQ(Service(unreachable).waitForEnd(kTimeout), 1);
  EXPECT_NE(printedBy("gone").find("env -u DISPLAY -u WAYLAND_DISPLAY ./run"), std::string::npos) << printedBy("gone");
  EXPECT_EQ(children(), ownChildren);
}

TEST_F(RunEndToEnd, RefusesWhatItDoesNotKnow) {
  EXPECT_EQ(runToItsEnd("unknown", {"--phome"}), 2);
  EXPECT_EQ(runToItsEnd("no label", {"--phone", "--answer"}), 2);
  EXPECT_EQ(runToItsEnd("no phone", {"--answer", "Allow"}), 2);
  EXPECT_EQ(runToItsEnd("help", {"--help"}), 0);
  for (const char* option : {"--phone", "--answer", "--sample", "--pair", "--look"}) {
    EXPECT_NE(printedBy("help").find(option), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace quillard
