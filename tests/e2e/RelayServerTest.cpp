#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "e2e/RelayServerFixture.h"
#include "support/TemporaryFolder.h"

// What passes through connections of the real relay, and each code with which it closes them.
namespace quillard::test {
namespace {

using relayserver::request;
using relayserver::result;
using relayserver::snapshot;
using relayserver::suppression;
using relayserver::unpair;
using std::chrono::seconds;
using std::chrono::steady_clock;

TEST_F(RelayServer, CarriesASnapshotADecisionAndItsOutcome) {
  start();
  const auto agent = join(agentQuery());
  EXPECT_EQ(agent->read("phone.status")["phoneCount"], 0);
  agent->say(snapshot());
  const auto one = join(phoneQuery("A"));
  EXPECT_EQ(one->read("mac.status")["macConnected"], true);
  EXPECT_EQ(one->read("mac.snapshot"), snapshot());
  const auto two = join(phoneQuery("B"));
  EXPECT_EQ(two->read("mac.snapshot"), snapshot());
  EXPECT_EQ(agent->read("phone.status")["phones"][0]["deviceName"], "Ana's phone");

  EXPECT_TRUE(one->sendFrame(Opcode::binary, request("d1").dump()));
  EXPECT_EQ(agent->read("approval.request"), request("d1"));
  EXPECT_EQ(one->read("relay.receipt")["delivered"], true);
  agent->say(result("d1"));
  EXPECT_EQ(one->read("approval.result")["phone"]["deviceID"], "A");
  const auto told = two->read("approval.result")["phone"];
  EXPECT_EQ(told["deviceName"], "Ana's phone");
  EXPECT_NE(told["deviceID"], "A") << "Only the phone itself is told the name by which it joins.";

  one->say(suppression("s1"));
  EXPECT_EQ(agent->read("approval.suppress"), suppression("s1"));
  EXPECT_EQ(two->read("approval.suppress"), suppression("s1"));
  EXPECT_EQ(one->read("relay.receipt")["decisionID"], "s1");
}

TEST_F(RelayServer, TellsPhonesWhenTheComputerGoes) {
  start();
  auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  EXPECT_EQ(phone->read("mac.status")["macConnected"], true);
  agent.reset();
  EXPECT_EQ(phone->read("mac.status")["macConnected"], false);
  phone->say(request("d1"));
  EXPECT_EQ(phone->read("relay.receipt")["reason"], "macNotConnected");
}

TEST_F(RelayServer, GivesTheNewestConnectionThePlaceOfTheEarlierOne) {
  start();
  const auto earlier = join(agentQuery());
  const auto agent = join(agentQuery());
  EXPECT_EQ(earlier->readClose(), 4001);
  const auto phone = join(phoneQuery("A"));
  const auto samePhone = join(phoneQuery("A"));
  EXPECT_EQ(phone->readClose(), 4001);
  samePhone->say(request("d1"));
  EXPECT_EQ(agent->read("approval.request"), request("d1"));
}

TEST_F(RelayServer, HasPlaceForEightPhones) {
  start();
  std::vector<std::unique_ptr<RelayWire>> phones;
  for (int i = 0; i < 8; ++i) phones.push_back(join(phoneQuery(std::to_string(i))));
  EXPECT_EQ(connect(phoneQuery("9")), 503);
  EXPECT_EQ(connect(phoneQuery("3")), 101);
  EXPECT_EQ(phones[3]->readClose(), 4001);
}

TEST_F(RelayServer, ClosesWhoSendsNoMessageOrTooManyOrTooLongOnes) {
  start();
  const auto wrong = join(phoneQuery("A"));
  wrong->sendFrame(Opcode::text, "{");
  EXPECT_EQ(wrong->readClose(), 1003);
  const auto eager = join(phoneQuery("B"));
  for (int i = 0; i < 30; ++i) eager->say({{"type", "x"}});
  EXPECT_EQ(eager->readClose(), 1008);
  const auto loud = join(phoneQuery("C"));
  loud->sendFrameHeader(Opcode::text, 1024 * 1024 + 1);
  EXPECT_EQ(loud->readClose(), 1009);
  // In pieces, too.
  const auto waiting = join(phoneQuery("D"));
  waiting->sendFrame(Opcode::text, std::string(1024 * 1024, ' '), false);
  waiting->sendFrame(Opcode::continuation, " ");
  EXPECT_EQ(waiting->readClose(), 1009);
}

TEST_F(RelayServer, TakesAMessageOfOneMebibyte) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(1024 * 1024 - (snapshot().dump().size() - 4), 'A');
  ASSERT_EQ(message.dump().size(), std::size_t{1024} * 1024);
  agent->say(message);
  EXPECT_EQ(phone->read("mac.snapshot"), message);
}

TEST_F(RelayServer, DropsAPhoneThatDoesNotReadAndServesTheOthers) {
  start({"--agent-message-burst", "1000"});
  const auto agent = join(agentQuery());
  const auto quick = join(phoneQuery("quick"));
  constexpr int kSmallBuffer = 4096;
  RelayWire slow(relay->port(), {}, kSmallBuffer);
  ASSERT_EQ(slow.upgrade(phoneQuery("slow"), kBearer).status, 101);
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(1000 * 1024, 'A');
  for (int i = 0; relay->output().find("closed with 1013") == std::string::npos; ++i) {
    ASSERT_LT(i, 20);
    agent->say(message);
    ASSERT_EQ(quick->read("mac.snapshot").size(), message.size()) << i;
  }
  EXPECT_EQ(slow.readClose(), 1013);
  quick->say(request("d1"));
  EXPECT_EQ(quick->read("relay.receipt")["delivered"], true);
  EXPECT_EQ(relay->output().find("Agent closed"), std::string::npos);
}

TEST_F(RelayServer, SaysDeliveredOnlyOfWhatAConnectionOfTheComputerTook) {
  start({"--phone-message-burst", "1000", "--pairing-mebibyte-burst", "1000"});
  constexpr int kSmallBuffer = 4096;
  RelayWire stuck(relay->port(), {}, kSmallBuffer);
  ASSERT_EQ(stuck.upgrade(agentQuery(), kBearer).status, 101);
  auto phone = join(phoneQuery("A"));
  // More than the system's buffers take, so that some of it waits in the relay.
  constexpr int kDecisions = 6;
  for (int i = 0; i < kDecisions; ++i) {
    auto message = request("d" + std::to_string(i));
    message["encryptedRequest"]["ciphertext"] = std::string(1000 * 1024, 'A');
    phone->say(message);
  }
  const auto agent = join(agentQuery());
  phone->say(request("last"));
  std::set<std::string> arrived;
  const auto note = [&arrived](const Json& message) { arrived.insert(message["decisionID"].get<std::string>()); };
  for (auto frame = stuck.readFrame(); frame && frame->opcode == Opcode::text; frame = stuck.readFrame()) {
    if (const auto message = Json::parse(frame->payload); message["type"] == "approval.request") note(message);
  }
  std::map<std::string, bool> receipts;
  const auto readReceipts = [&](std::size_t count) {
    while (receipts.size() < count) {
      const auto receipt = phone->read("relay.receipt");
      if (receipt.is_null()) return;
      receipts[receipt["decisionID"]] = receipt["delivered"];
    }
  };
  // The room went to another relay with its agent: a phone has to come back, and to say again what it has no receipt
  // of.
  const bool hasMoved = RelayProgram::relayCount() > 1;
  if (hasMoved) {
    readReceipts(kDecisions + 1);
    phone = join(phoneQuery("A"));
    phone->say(request("last"));
  }
  for (auto message = agent->read("approval.request"); !message.is_null(); message = agent->read("approval.request")) {
    note(message);
    if (message["decisionID"] == "last") break;
  }
  readReceipts(hasMoved ? receipts.size() + 1 : kDecisions + 1);
  for (const auto& [decisionID, wasDelivered] : receipts) {
    if (wasDelivered) {
      EXPECT_TRUE(arrived.contains(decisionID)) << decisionID;
    }
  }
  EXPECT_TRUE(receipts["last"]);
}

TEST_F(RelayServer, RevokesAPairingForGood) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  agent->say(unpair());
  EXPECT_EQ(phone->readClose(), 4002);
  EXPECT_EQ(agent->readClose(), 4002);
  EXPECT_EQ(registerToken(), 410);
  EXPECT_EQ(connect(agentQuery()), 410);
  EXPECT_EQ(wire()->ask("GET", "/api/pairings/" + kName, kBearer).status, 410);
  relay->killAndRestart();
  EXPECT_EQ(registerToken(), 410);
}

TEST_F(RelayServer, ClosesTheOnePhoneThatAnAgentNames) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  const auto other = join(phoneQuery("B"));
  agent->say(unpair("A"));
  EXPECT_EQ(phone->readClose(), 4003);
  other->say(request("d1"));
  EXPECT_EQ(other->read("relay.receipt")["delivered"], true);
}

TEST_F(RelayServer, KeepsRegistrationsWhenItIsKilled) {
  start();
  relay->killAndRestart();
  EXPECT_EQ(connect(agentQuery()), 101);
  EXPECT_EQ(registerToken(std::string(64, 'b')), 401);
}

TEST_F(RelayServer, PingsAndDropsThoseWhoNeverAnswer) {
  start({"--ping-milliseconds", "100", "--idle-milliseconds", "1500"});
  relay->useOne();  // An agent that comes to another relay takes the room there.
  const auto phone = join(phoneQuery("A"));
  const auto dead = join(agentQuery());
  dead->answersPings = false;
  EXPECT_EQ(phone->read("mac.status")["macConnected"], false);
  EXPECT_EQ(phone->read("mac.status")["macConnected"], true);
  // The phone answers, and stays; the computer does not.
  while (phone->read("mac.status")["macConnected"] == true) {
  }
  EXPECT_EQ(dead->readClose(), 0);
  phone->say(request("d1"));
  EXPECT_EQ(phone->read("relay.receipt")["reason"], "macNotConnected");
}

TEST_F(RelayServer, ClosesConnectionsAndLeavesWithoutWaitingForItsTimeouts) {
  for (const int signal : {SIGTERM, SIGINT}) {
    start();
    const auto agent = join(agentQuery());
    const auto phone = join(phoneQuery("A"));
    const auto idle = wire();
    const auto start = steady_clock::now();
    relay->signal(signal);
    EXPECT_EQ(agent->readClose(), 1012);
    EXPECT_EQ(phone->readClose(), 1012);
    EXPECT_EQ(relay->wait(), 0);
    EXPECT_LT(steady_clock::now() - start, seconds(3));
  }
}

// In the middle of everything: what is open then has to be taken down in the right order.
TEST_F(RelayServer, EndsAtASecondSignalWhateverIsOpen) {
  start({"--drain-seconds", "30"});
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  const auto silent = wire();
  const auto unfinished = wire();
  unfinished->write("GET /healthz HT");
  const auto answered = wire();
  EXPECT_EQ(answered->ask("GET", "/healthz").status, 200);
  relay->signal(SIGTERM);
  relay->signal(SIGINT);
  EXPECT_EQ(relay->wait(), 0);
}

TEST_F(RelayServer, IsNotReadyWhileTheDiskIsFull) {
  start();
  EXPECT_EQ(wire()->ask("GET", "/readyz").status, 200);
  // No file of its own may grow any more.
  const rlimit none{.rlim_cur = 0, .rlim_max = RLIM_INFINITY};
  ASSERT_EQ(::prlimit(relay->processID(), RLIMIT_FSIZE, &none, nullptr), 0);
  EXPECT_EQ(registerToken(kToken, "another"), 500);
  EXPECT_EQ(wire()->ask("GET", "/readyz").status, 503);
  EXPECT_EQ(wire()->ask("GET", "/healthz").status, 200);
  EXPECT_EQ(join(agentQuery())->read("phone.status")["phoneCount"], 0);
  const rlimit all{.rlim_cur = RLIM_INFINITY, .rlim_max = RLIM_INFINITY};
  ASSERT_EQ(::prlimit(relay->processID(), RLIMIT_FSIZE, &all, nullptr), 0);
  const auto latest = steady_clock::now() + seconds(30);
  while (wire()->ask("GET", "/readyz").status != 200 && steady_clock::now() < latest)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(wire()->ask("GET", "/readyz").status, 200);
  EXPECT_EQ(registerToken(kToken, "another"), 204);
}

// The relay as a service or a shell starts it, with limits of open files that it finds and has not chosen.
class RelayFileLimit : public RelayServer {
 protected:
  // `limits`: commands of a shell.
  void startUnder(const std::string& limits, const std::string& connections) {
    const std::string script = folder.path() + "/relay";
    // What lets root go beyond any limit is taken from it.
    const std::string asAnyone = ::geteuid() == 0 ? "setpriv --bounding-set -sys_resource " : "";
    std::ofstream(script) << "#!/bin/sh\n" << limits << "\nexec " << asAnyone << "'" << relayProgram() << "' \"$@\"\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    ASSERT_EQ(::setenv("QUILLARD_RELAY_PROGRAM", script.c_str(), 1), 0);
    start({"--connections", connections});
  }
  ~RelayFileLimit() override {
    if (programBefore) {
      ::setenv("QUILLARD_RELAY_PROGRAM", programBefore->c_str(), 1);
    } else {
      ::unsetenv("QUILLARD_RELAY_PROGRAM");
    }
  }
  [[nodiscard]] rlim_t limitOfRelay() const {
    rlimit files{};
    EXPECT_EQ(::prlimit(relay->processID(), RLIMIT_NOFILE, nullptr, &files), 0);
    return files.rlim_cur;
  }

  const TemporaryFolder folder;
  const std::optional<std::string> programBefore = [] {
    const char* const before = std::getenv("QUILLARD_RELAY_PROGRAM");
    return before ? std::optional<std::string>(before) : std::nullopt;
  }();
};

TEST_F(RelayFileLimit, IsRaisedToWhatTheConnectionsNeed) {
  startUnder("ulimit -Sn 200", "500");
  EXPECT_GT(limitOfRelay(), 500U);
  EXPECT_EQ(relay->output().find("The limit of open files"), std::string::npos) << relay->output();
}

TEST_F(RelayFileLimit, IsSaidWhereItMayNotBeRaisedSoFar) {
  startUnder("ulimit -Sn 200; ulimit -Hn 300", "500");
  EXPECT_EQ(limitOfRelay(), 300U);
  EXPECT_NE(relay->output().find("instead of 500."), std::string::npos) << relay->output();
  EXPECT_EQ(join(agentQuery())->read("phone.status")["phoneCount"], 0);
}

TEST_F(RelayServer, ServesOnWhileItDrains) {
  start({"--drain-seconds", "2"});
  const auto agent = join(agentQuery());
  EXPECT_EQ(wire()->ask("GET", "/readyz").status, 200);
  relay->signal(SIGTERM);
  while (relay->output().find("Draining") == std::string::npos)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(wire()->ask("GET", "/readyz").status, 503);
  EXPECT_EQ(wire()->ask("GET", "/healthz").status, 200);
  const auto phone = join(phoneQuery("A"));
  phone->say(request("d1"));
  EXPECT_EQ(agent->read("approval.request"), request("d1"));
  EXPECT_EQ(agent->readClose(), 1012);
  EXPECT_EQ(phone->readClose(), 1012);
  EXPECT_EQ(relay->wait(), 0);
}

TEST_F(RelayServer, DoesNotWaitForeverForThoseWhoDoNotAnswerItsCloseMessage) {
  start();
  const auto agent = join(agentQuery());
  const auto start = steady_clock::now();
  relay->signal(SIGTERM);
  EXPECT_EQ(relay->wait(), 0);
  EXPECT_LT(steady_clock::now() - start, seconds(6));
}

TEST_F(RelayServer, NeverPrintsWhatItIsTold) {
  start({"--metrics", "127.0.0.1:0"});
  std::ifstream planted(QUILLARD_PLANTED_SECRETS);
  std::vector<std::string> secrets;
  for (std::string line; std::getline(planted, line);) {
    if (!line.empty()) secrets.push_back(line);
  }
  ASSERT_FALSE(secrets.empty());
  std::string all;
  for (const auto& secret : secrets) all += secret;
  const std::string token = all + std::string(32, '-');
  const WireHeaders bearer{{"Authorization", "Bearer " + token}, {"X-Header", all}};
  EXPECT_EQ(registerToken(token, "planted"), 204);
  wire()->ask("PUT", "/api/pairings/planted/relay-token", {{"Authorization", "Bearer " + all + std::string(40, 'x')}},
              all);
  wire()->ask("GET", "/" + all + "?" + all);
  wire()->write(all);
  const auto agent = wire();
  ASSERT_EQ(agent->upgrade("role=mac&pairing=planted&x=" + all, bearer).status, 101);
  const auto phone = wire();
  ASSERT_EQ(phone
                ->upgrade("role=phone&pairing=planted&deviceID=A&deviceName=" + secrets[0] + "&platform=" + secrets[1],
                          {{"Sec-WebSocket-Protocol", "quillard.v1, quillard.bearer." + token}})
                .status,
            101);
  phone->say({{"type", "approval.request"}, {"decisionID", all}, {"encryptedRequest", relayserver::sealed()}});
  agent->read("approval.request");
  phone->sendFrame(Opcode::text, all);
  EXPECT_EQ(phone->readClose(), 1003);
  agent->say(unpair());
  EXPECT_EQ(agent->readClose(), 4002);
  const auto metrics = RelayWire(relay->metricsPort().value()).ask("GET", "/metrics").body;
  relay->signal(SIGTERM);
  EXPECT_EQ(relay->wait(), 0);
  const auto said = relay->output() + metrics;
  EXPECT_NE(said.find("Agent joined"), std::string::npos);
  for (const auto& secret : secrets) EXPECT_EQ(said.find(secret), std::string::npos) << "a planted secret was printed";
}

}  // namespace
}  // namespace quillard::test
