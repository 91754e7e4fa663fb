#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/SanitizerOptions.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

// Programs that ask, over the real socket of a real agent, without a desktop. What is asked has to be answered at the
// computer, so that no phone is needed.
namespace quillard {
namespace {

using nlohmann::json;
using test::ChildProcess;
using test::waitUntil;

// A connection of the test's own to the agent.
class Connection {
 public:
  explicit Connection(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    isOpen = ::connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~Connection() { ::close(file); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void send(const std::string& bytes) {
    [[maybe_unused]] const auto sent = ::send(file, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  // Empty: it was closed, or nothing came for ten seconds.
  std::string readLine() {
    std::string line;
    for (char character = 0;;) {
      pollfd waited{.fd = file, .events = POLLIN, .revents = 0};
      if (::poll(&waited, 1, 10'000) <= 0 || ::recv(file, &character, 1, 0) != 1) return "";
      if (character == '\n') return line;
      line += character;
    }
  }

  bool isOpen = false;

 private:
  const int file = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

// An agent of the test's own at that socket: answers each connection's request with the next line.
class FakeAgent {
 public:
  FakeAgent(const std::string& path, const std::vector<std::string>& answers) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ::unlink(path.c_str());
    isListening =
        ::bind(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 && ::listen(file, 8) == 0;
    thread = std::thread([this, answers] {
      for (const auto& answer : answers) {
        const int client = ::accept(file, nullptr, nullptr);
        if (client < 0) return;
        std::string request;
        for (char character = 0; ::recv(client, &character, 1, 0) == 1 && character != '\n';) request += character;
        received.push_back(request);
        [[maybe_unused]] const auto sent = ::send(client, (answer + "\n").data(), answer.size() + 1, MSG_NOSIGNAL);
        ::close(client);
      }
    });
  }
  ~FakeAgent() {
    (void)end();
    ::close(file);
  }
  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;

  // The requests that came until now. Nothing is answered afterwards.
  std::vector<std::string> end() {
    ::shutdown(file, SHUT_RDWR);
    if (thread.joinable()) thread.join();
    return received;
  }

  bool isListening = false;

 private:
  const int file = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::vector<std::string> received;
  std::thread thread;
};

class Asking : public testing::Test {
 protected:
  Asking() {
    std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all);
    startAgent();
  }

  std::unique_ptr<ChildProcess> launch(const std::vector<std::string>& arguments, const std::string& input = "",
                                       const std::string& path = "/usr/bin:/bin") {
    std::vector<std::string> command{QUILLARD_PROGRAM};
    if (!arguments.empty() && arguments[0].starts_with('/')) command.clear();
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto environment = test::sanitizerOptions();
    environment.insert(environment.end(), {"XDG_RUNTIME_DIR=" + folder.path(), "HOME=" + folder.path(),
                                           "QT_QPA_PLATFORM=offscreen", "LC_ALL=C.UTF-8", "PATH=" + path});
    return std::make_unique<ChildProcess>(
        ChildProcess::Start{.command = command, .environment = environment, .input = input});
  }
  void startAgent() {
    agent = launch({});
    ASSERT_TRUE(waitUntil([&] { return Connection(socket).isOpen; }));
  }
  std::unique_ptr<ChildProcess> ask(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"ask",      "Delete?", "--button",        "Delete",
                                       "--button", "Cancel",  "--needs-computer"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return launch(arguments);
  }
  std::string request(const std::string& line) const {
    Connection connection(socket);
    connection.send(line + "\n");
    return connection.readLine();
  }
  json waiting() const {
    const auto answer =
        json::parse(request(R"({"version":1,"type":"questions"})"), nullptr, /*allow_exceptions=*/false);
    return answer.is_object() ? answer.value("questions", json::array()) : json::array();
  }
  bool waits(std::size_t count) {
    return waitUntil([&] { return waiting().size() == count; });
  }
  std::string answer(const std::string& label) {
    const json line = {{"version", 1}, {"type", "answer"}, {"id", waiting().at(0).at("id")}, {"label", label}};
    return json::parse(request(line.dump())).at("type");
  }

  const test::TemporaryFolder folder;
  const std::string socket = folder.path() + "/com.quillard.agent.socket";
  std::unique_ptr<ChildProcess> agent;
};

TEST_F(Asking, TheAnswerComesBackWithTheExitStatusOfItsButton) {
  for (const auto& [label, status] : std::vector<std::pair<std::string, int>>{{"Delete", 0}, {"Cancel", 1}}) {
    const auto asking = ask();
    ASSERT_TRUE(waits(1));
    const auto listed = waiting().at(0);
    EXPECT_EQ(listed.at("program"), "asking_test") << "the tool speaks for whoever started it";
    EXPECT_EQ(listed.at("process"), ::getpid());
    EXPECT_EQ(answer(label), "done");
    EXPECT_EQ(asking->readLine(), label);
    EXPECT_EQ(asking->wait(), status);
    EXPECT_TRUE(waiting().empty());
  }
}

TEST_F(Asking, AQuestionGoesWithItsProgram) {
  const auto killed = ask();
  ASSERT_TRUE(waits(1));
  killed->kill();
  EXPECT_TRUE(waits(0));
  const auto interrupted = ask();
  ASSERT_TRUE(waits(1));
  ::kill(interrupted->id(), SIGINT);
  EXPECT_EQ(interrupted->wait(), 130);
  EXPECT_TRUE(waits(0));
}

TEST_F(Asking, AQuestionGoesWithTheShellThatAsked) {
  const auto shell = launch(
      {"/bin/sh", "-c", std::string(QUILLARD_PROGRAM) + " ask 'Delete?' --button Delete --needs-computer; echo"});
  ASSERT_TRUE(waits(1));
  EXPECT_EQ(waiting().at(0).at("process"), shell->id());
  shell->kill();
  EXPECT_TRUE(waits(0));
}

TEST_F(Asking, AnAgentThatTakesThePlaceOfAKilledOneIsAskedAnew) {
  const auto asking = ask();
  ASSERT_TRUE(waits(1));
  const auto former = waiting().at(0).at("id");
  agent->kill();
  startAgent();
  ASSERT_TRUE(waits(1));
  EXPECT_NE(waiting().at(0).at("id"), former);
  EXPECT_EQ(answer("Delete"), "done");
  EXPECT_EQ(asking->wait(), 0);
}

TEST_F(Asking, WithoutAnAgentEveryRequestEndsWithItsOwnStatus) {
  agent->kill();
  EXPECT_EQ(ask()->wait(), 3);
  EXPECT_EQ(launch({"status"})->wait(), 3);
  EXPECT_EQ(launch({"answer"})->wait(), 3);
  EXPECT_EQ(launch({"quit"})->wait(), 3);
  EXPECT_EQ(launch({"phones"})->wait(), 3);
  EXPECT_EQ(launch({"unpair", "--all", "--yes"})->wait(), 3);
}

TEST_F(Asking, AtTheTerminalATimeOutCountsToo) {
  agent->kill();
  // What is typed comes through a pipe that stays open for a while: its end would be that of the terminal.
  const auto askAtTerminal = [&](const std::string& typed, const std::string& more) {
    std::ofstream(folder.path() + "/ask.sh")
        << "'" << QUILLARD_PROGRAM << "' ask --button Delete --button Keep --fallback terminal --timeout 1s --json "
        << more << " -- 'Delete?' > '" << folder.path() << "/said'\n";
    const auto asking = launch(
        {"/bin/sh", "-c",
         "(printf '" + typed + "'; sleep 2) | script -qec 'sh " + folder.path() + "/ask.sh' /dev/null > /dev/null"});
    const auto code = asking->wait();
    std::ifstream said(folder.path() + "/said");
    const std::string text{std::istreambuf_iterator<char>(said), {}};
    return std::pair{code.value_or(-1), json::parse(text, nullptr, /*allow_exceptions=*/false)};
  };
  const auto answered = askAtTerminal("1\\n", "");
  EXPECT_EQ(answered.first, 0);
  EXPECT_EQ(answered.second.value("by", ""), "terminal") << answered.second;
  const auto late = askAtTerminal("", "");
  EXPECT_EQ(late.first, 4);
  EXPECT_EQ(late.second.value("outcome", ""), "timedOut") << late.second;
  const auto forNobody = askAtTerminal("", "--default-on-timeout Keep");
  EXPECT_EQ(forNobody.first, 1);
  EXPECT_EQ(forNobody.second.value("by", ""), "timeout") << forNobody.second;
}

TEST_F(Asking, WithoutAPhoneNothingIsUnpaired) {
  const auto listing = launch({"phones"});
  EXPECT_EQ(listing->readLine(), "No phone is paired.");
  EXPECT_EQ(listing->wait(), 0);
  EXPECT_EQ(launch({"phones", "--json"})->readLine(), R"({"version":1,"type":"phones","phones":[]})");
  EXPECT_EQ(launch({"unpair", "--all", "--yes"})->wait(), 1);
  EXPECT_EQ(launch({"unpair", "Ann", "--yes"})->wait(), 1);
}

constexpr const char* kBenIsPaired =
    R"({"version":1,"type":"phones","phones":[{"name":"Ben","pairing":2,"since":"2026-01-04T10:00:00Z",)"
    R"("lastHeard":"2026-01-05T10:00:00Z","connected":false,"decisions":0,"isUnexpected":false}]})";

// A way to unpair Ben, and what comes of it.
struct UnpairingCase {
  std::vector<std::string> command;
  std::string input;
  int status = 0;
  bool isUnpaired = false;
};

TEST_F(Asking, APhoneIsUnpairedWhenAPersonAgreesOrHasSaidSoBefore) {
  agent->kill();
  const std::string program = QUILLARD_PROGRAM;
  const std::vector<std::string> atTerminal{"/usr/bin/script", "-qec", program + " unpair Ben", "/dev/null"};
  for (const auto& one : std::vector<UnpairingCase>{{{"unpair", "Ben"}, "y\n", 3, false},
                                                    {{"unpair", "Ben", "--yes"}, "", 0, true},
                                                    {atTerminal, "n\n", 1, false},
                                                    {atTerminal, "\n", 1, false},
                                                    {atTerminal, "y\n", 0, true}}) {
    FakeAgent fake(socket, {kBenIsPaired, R"({"version":1,"type":"unpaired","phones":["Ben"]})"});
    ASSERT_TRUE(fake.isListening);
    const auto label = testing::PrintToString(one.command) + one.input;
    EXPECT_EQ(launch(one.command, one.input)->wait(), one.status) << label;
    std::vector<std::string> expected{R"({"version":1,"type":"phones"})"};
    if (one.isUnpaired) {
      expected.push_back(R"({"version":1,"type":"unpair","pairing":2,"since":"2026-01-04T10:00:00Z"})");
    }
    EXPECT_EQ(fake.end(), expected) << label;
  }
}

TEST_F(Asking, ARefusedUnpairingIsNoSuccess) {
  agent->kill();
  FakeAgent fake(
      socket, {kBenIsPaired, R"({"version":1,"type":"error","code":"notFound","message":"No such phone is paired."})"});
  EXPECT_EQ(launch({"unpair", "2", "--yes"})->wait(), 1);
}

TEST_F(Asking, AnAnswerThatIsNotUnderstoodIsSaid) {
  agent->kill();
  for (const char* const name : {"answer", "phones", "muted"}) {
    FakeAgent fake(socket, {R"({"version":1,"type":"surprise"})"});
    ASSERT_TRUE(fake.isListening);
    const auto tool = launch({"/bin/sh", "-c", std::string(QUILLARD_PROGRAM) + " " + name + " 2>&1"});
    EXPECT_EQ(tool->readLine(), "quillard " + std::string(name) + ": The agent's answer is not understood.");
    EXPECT_EQ(tool->wait(), 3);
  }
}

TEST_F(Asking, NothingEndsWithZeroWhenItsOutputCannotBeWritten) {
  EXPECT_EQ(launch({"/bin/sh", "-c", std::string(QUILLARD_PROGRAM) + " status > /dev/full"})->wait(), 3);
  EXPECT_EQ(launch({"/bin/sh", "-c", std::string(QUILLARD_PROGRAM) + " phones > /dev/full"})->wait(), 3);
  EXPECT_EQ(launch({"/bin/sh", "-c", std::string(QUILLARD_PROGRAM) + " --version > /dev/full"})->wait(), 3);
}

TEST_F(Asking, ALoopThatFloodsIsRefusedAndTheAgentStaysAwake) {
  const std::string question =
      R"({"version":1,"type":"ask","question":"Again?","buttons":[{"label":"Yes"}],"needsComputer":true})"
      "\n";
  std::vector<std::unique_ptr<Connection>> open;
  int taken = 0;
  for (int i = 0; i < 1000; ++i) {
    auto connection = std::make_unique<Connection>(socket);
    connection->send(question);
    if (json::parse(connection->readLine()).at("type") != "asked") continue;
    ++taken;
    open.push_back(std::move(connection));
  }
  EXPECT_EQ(taken, 4);
  EXPECT_EQ(waiting().size(), 4U);
  EXPECT_EQ(launch({"status"})->wait(), 0);
}

TEST_F(Asking, HostileProgramsHarmNobodyElse) {
  std::vector<std::unique_ptr<Connection>> silent;
  for (int i = 0; i < 30; ++i) silent.push_back(std::make_unique<Connection>(socket));
  for (const std::string& bytes :
       {std::string("\0\xff\n", 3), std::string(100'000, '[') + "\n", std::string("{}\n"), std::string("half a line"),
        std::string(1'000'000, 'x'), std::string(R"({"version":1,"type":"ask","question":"x"})") + "\n"}) {
    auto hostile = std::make_unique<Connection>(socket);
    hostile->send(bytes);
    silent.push_back(std::move(hostile));
  }
  const auto asking = ask();
  ASSERT_TRUE(waits(1));
  EXPECT_EQ(answer("Delete"), "done");
  EXPECT_EQ(asking->wait(), 0);
}

TEST_F(Asking, TheAgentQuitsWhenAskedAndTakesItsSocketWithIt) {
  EXPECT_EQ(launch({"quit"})->wait(), 0);
  EXPECT_EQ(agent->wait(), 0);
  EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST_F(Asking, SettingsThatAreChangedAtTheSameTimeAreAllKept) {
  agent->kill();
  const auto settings = folder.path() + "/.config/quillard/settings.json";
  std::filesystem::remove(settings);  // The agent keeps more there than settings.
  const std::vector<std::pair<std::string, std::string>> changes{
      {"approval-stale-grace", "11"}, {"dialog-diagnostics", "on"}, {"relay", "wss://relay.example/ws"}};
  for (int round = 0; round < 3; ++round) {
    std::vector<std::unique_ptr<ChildProcess>> tools;
    for (const auto& [name, value] : changes) {
      tools.push_back(name == "relay" ? launch({"relay", "set", value}) : launch({"settings", name, value}));
    }
    for (const auto& tool : tools) EXPECT_EQ(tool->wait(), 0);
    std::ifstream file(settings);
    const auto kept = json::parse(file, nullptr, /*allow_exceptions=*/false);
    ASSERT_TRUE(kept.is_object());
    EXPECT_EQ(kept.at("values").size(), changes.size()) << kept;
    std::filesystem::remove(settings);
  }
}

TEST_F(Asking, ARelaysKeyMayComeFromStandardInput) {
  agent->kill();
  EXPECT_EQ(launch({"relay", "set", "relay.example", "--key", "-"}, "hunter2hunter2hunter2\n")->wait(), 0);
  std::ifstream file(folder.path() + "/.config/quillard/settings.json");
  const std::string kept{std::istreambuf_iterator<char>(file), {}};
  EXPECT_NE(kept.find("registration-key=hunter2hunter2hunter2"), std::string::npos) << kept;
  EXPECT_EQ(launch({"relay", "set", "relay.example", "--key", "-"}, "")->wait(), 2) << "none came";
}

}  // namespace
}  // namespace quillard
