#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract/support/ScriptedServer.h"
#include "contract/support/TestAuthority.h"
#include "e2e/MeddlingProxy.h"
#include "e2e/RelayServerFixture.h"

// What `quillard-relay check` says of relays that work, and of what else may answer at an address.
namespace quillard::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class RelayCheck : public RelayServer {
 protected:
  struct Outcome {
    int exitCode = 0;
    std::string printed;
  };
  // `authority`: the file that holds it; empty: the system's.
  static Outcome check(const std::vector<std::string>& arguments, const std::string& authority = {}) {
    std::vector<std::string> command{"/bin/sh", "-c", "exec \"$@\" 2>&1", "sh", QUILLARD_RELAY_PROGRAM, "check"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto environment = presentEnvironment();
    if (!authority.empty()) environment.push_back("SSL_CERT_FILE=" + authority);
    ChildProcess process({.command = command, .environment = environment});
    Outcome outcome;
    while (const auto line = process.readLine()) outcome.printed += *line + "\n";
    outcome.exitCode = process.wait().value_or(-1);
    return outcome;
  }
  [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(relay->port()); }
  std::vector<std::string> withPage() {
    std::ofstream(page.path() + "/index.html") << "<title>Quillard</title>";
    return {"--page", page.path()};
  }

  const TemporaryFolder page;
};

TEST_F(RelayCheck, FindsNothingWrongWithARelayThatWorks) {
  start(withPage());
  const auto outcome = check({url()});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.printed;
  EXPECT_THAT(outcome.printed, Not(HasSubstr("WRONG")));
  EXPECT_THAT(outcome.printed, HasSubstr("the clocks agree"));
  EXPECT_THAT(outcome.printed, HasSubstr("a decision from the phone to the agent"));
}

TEST_F(RelayCheck, TrustsAPrivateAuthorityThatItIsToldOf) {
  const TestAuthority authority;
  const auto identity = authority.issue();
  const TemporaryFolder folder;
  std::ofstream(folder.path() + "/certificate") << identity.certificate;
  std::ofstream(folder.path() + "/key") << identity.key;
  std::ofstream(folder.path() + "/authority") << authority.certificate();
  auto more = withPage();
  more.insert(more.end(), {"--tls-certificate", folder.path() + "/certificate", "--tls-key", folder.path() + "/key"});
  relay = std::make_unique<RelayProgram>(arguments(more));
  const std::string address = "https://127.0.0.1:" + std::to_string(relay->port());
  const auto trusted = check({address}, folder.path() + "/authority");
  EXPECT_EQ(trusted.exitCode, 0) << trusted.printed;
  const auto otherName = check({"https://localhost:" + std::to_string(relay->port())}, folder.path() + "/authority");
  EXPECT_THAT(otherName.printed, HasSubstr("for another name than localhost"));
  const auto untrusted = check({address});
  EXPECT_EQ(untrusted.exitCode, 1);
  EXPECT_THAT(untrusted.printed, HasSubstr("authority"));
  const auto inClear = check({"http://127.0.0.1:" + std::to_string(relay->port())});
  EXPECT_EQ(inClear.exitCode, 1) << inClear.printed;
}

TEST_F(RelayCheck, SaysWhatIsWrong) {
  start();
  EXPECT_THAT(check({url()}).printed, HasSubstr("WRONG    The relay serves no page"));
  EXPECT_THAT(check({"https://127.0.0.1:" + std::to_string(relay->port())}).printed, HasSubstr("WRONG    TLS"));
  relay->signal(SIGKILL);
  (void)relay->wait();
  EXPECT_THAT(check({url()}).printed, HasSubstr("Nothing answers at 127.0.0.1"));
  EXPECT_THAT(check({"https://no-such-relay.invalid"}).printed, HasSubstr("WRONG    DNS"));
  EXPECT_EQ(check({"ftp://relay.example"}).exitCode, 2);
  EXPECT_EQ(check({"http://relay.example"}).exitCode, 2);
  EXPECT_EQ(check({}).exitCode, 2);
}

TEST_F(RelayCheck, AsksForTheOperatorsKey) {
  std::ofstream(page.path() + "/registration-key") << "0123456789abcdef\n";
  auto more = withPage();
  more.insert(more.end(), {"--registration-key-file", page.path() + "/registration-key"});
  relay = std::make_unique<RelayProgram>(arguments(more));
  EXPECT_THAT(check({url()}).printed, HasSubstr("WRONG    The relay wants its operator's key"));
  const auto shown = check({url(), "--registration-key", "0123456789abcdef"});
  EXPECT_EQ(shown.exitCode, 0) << shown.printed;
}

// A proxy that spoils WebSockets in one way or another: which one is told, and no pairing is left behind.
TEST_F(RelayCheck, SaysWhatAProxyDoesWrongAndLeavesNothingBehind) {
  auto more = withPage();
  more.insert(more.end(), {"--metrics", "127.0.0.1:0"});
  relay = std::make_unique<RelayProgram>(arguments(more));
  const auto pairings = [&] {
    const auto metrics = RelayWire(relay->metricsPort().value()).ask("GET", "/metrics").body;
    return metrics.substr(metrics.find("\nquillard_relay_pairings ") + 1, 25);
  };
  using Habit = MeddlingProxy::Habit;
  struct Row {
    Habit habit;
    std::string says;
    bool isRevoked = true;  // Else no client could join, and the relay forgets the pairing by itself.
  };
  const std::vector<Row> table{
      {Habit::forgetsUpgrades, "has to pass on the headers Upgrade and Connection", false},
      {Habit::keepsMessagesBack, "a proxy keeps messages back"},
      {Habit::dropsSilentOnes, "A silent connection was dropped"},
      {Habit::endsItHalfWay, "ends WebSockets that are used", false},
      {Habit::changesHandshakes, "changes the WebSocket's handshake"},
  };
  std::size_t leftBehind = 0;
  for (const auto& row : table) {
    const MeddlingProxy proxy(relay->port(), row.habit);
    const auto outcome =
        check({"http://127.0.0.1:" + std::to_string(proxy.port()), "--timeout-milliseconds", "2000", "--wait", "1"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.printed;
    EXPECT_THAT(outcome.printed, HasSubstr("WRONG"));
    EXPECT_THAT(outcome.printed, HasSubstr(row.says));
    if (!row.isRevoked) ++leftBehind;
    EXPECT_EQ(pairings(), "quillard_relay_pairings " + std::to_string(leftBehind)) << row.says;
  }
  const MeddlingProxy proxy(relay->port(), Habit::none);
  EXPECT_EQ(check({"http://127.0.0.1:" + std::to_string(proxy.port())}).exitCode, 0);
  EXPECT_EQ(pairings(), "quillard_relay_pairings " + std::to_string(leftBehind));
}

// Answers each request after another: what a proxy in the way makes of a relay.
TEST_F(RelayCheck, RecognisesWhatStandsInTheWay) {
  const std::vector<std::pair<std::string, std::string>> table{
      {"HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n", "no relay behind it"},
      {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\npage", "is no relay"},
      {"HTTP/1.1 200 OK\r\nDate: Sun, 01 Mar 2020 00:00:00 GMT\r\nContent-Length: 2\r\n\r\nok", "clocks"},
      {"rubbish\r\n\r\n", "is no relay"},
  };
  for (const auto& row : table) {
    const std::string& answer = row.first;
    const ScriptedServer server([&answer](ServerConnection& connection) {
      connection.readHead();
      connection.write(answer);
    });
    const auto outcome = check({"http://127.0.0.1:" + std::to_string(server.port())});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.printed;
    EXPECT_THAT(outcome.printed, HasSubstr(row.second));
  }
}

}  // namespace
}  // namespace quillard::test
