#include <csignal>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "companion/relay/RelayWorld.h"
#include "contract/support/TestAuthority.h"
#include "road/RelayProgram.h"
#include "road/RelayWire.h"

// The real relay over real sockets: each status and close code that its protocol names, and each limit.
namespace quillard::test {
namespace {

using relayserver::request;
using relayserver::result;
using relayserver::snapshot;
using relayserver::suppression;
using relayserver::unpair;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

const std::string kToken(64, 'a');
const std::string kName = "office-1";
const WireHeaders kBearer{{"Authorization", "Bearer " + kToken}};
const std::string kRegistration = R"({"client":"mac","version":1})";

std::string agentQuery(const std::string& pairing = kName) { return "role=mac&pairing=" + pairing; }
std::string phoneQuery(const std::string& deviceID) {
  return "role=phone&pairing=" + kName + "&deviceID=" + deviceID + "&deviceName=Ana%27s+phone&platform=iOS";
}

// With rates and times that suit a test.
std::vector<std::string> arguments(std::vector<std::string> more = {}) {
  more.insert(more.end(), {"--registration-burst", "1000", "--handshake-burst", "1000"});
  return more;
}

class RelayServer : public testing::Test {
 protected:
  void start(const std::vector<std::string>& more = {}) {
    relay = std::make_unique<RelayProgram>(arguments(more));
    ASSERT_EQ(registerToken(), 204);
  }
  std::unique_ptr<RelayWire> wire() { return std::make_unique<RelayWire>(relay->port()); }
  int registerToken(const std::string& token = kToken, const std::string& pairing = kName) {
    return wire()
        ->ask("PUT", "/api/pairings/" + pairing + "/relay-token", {{"Authorization", "Bearer " + token}}, kRegistration)
        .status;
  }
  std::unique_ptr<RelayWire> join(const std::string& query) {
    auto joined = wire();
    EXPECT_EQ(joined->upgrade(query, kBearer).status, 101) << query;
    return joined;
  }
  int knock(const std::string& query, const WireHeaders& headers = kBearer) {
    return wire()->upgrade(query, headers).status;
  }

  std::unique_ptr<RelayProgram> relay;
};

TEST_F(RelayServer, AnswersRegistrationsQuestionsAndHealth) {
  start();
  EXPECT_EQ(registerToken(), 204);
  EXPECT_EQ(registerToken(std::string(64, 'b')), 401);
  EXPECT_EQ(registerToken(kToken, "UPPER"), 400);
  EXPECT_EQ(registerToken("short"), 400);
  const auto client = wire();  // One connection, question after question.
  EXPECT_EQ(client->ask("GET", "/healthz").body, "ok");
  EXPECT_EQ(client->ask("GET", "/api/pairings/" + kName, kBearer).body, R"({"macConnected":false,"phoneCount":0})");
  EXPECT_EQ(client->ask("GET", "/api/pairings/unknown", kBearer).status, 401);
  EXPECT_EQ(client->ask("GET", "/ws").status, 426);
  EXPECT_EQ(client->ask("DELETE", "/api/pairings/" + kName, kBearer).status, 405);
  EXPECT_EQ(client->ask("GET", "/").status, 404);
}

TEST_F(RelayServer, TakesABodyOfFourKibibytesAndNoMore) {
  start();
  const auto put = [&](std::size_t size) {
    return wire()
        ->ask("PUT", "/api/pairings/" + kName + "/relay-token", kBearer,
              kRegistration + std::string(size - kRegistration.size(), ' '))
        .status;
  };
  EXPECT_EQ(put(4 * 1024), 204);
  EXPECT_EQ(put(4 * 1024 + 1), 413);
  // A length that is only claimed is enough.
  const auto client = wire();
  client->write("PUT /api/pairings/x/relay-token HTTP/1.1\r\nHost: x\r\nContent-Length: 99999999999\r\n\r\n");
  EXPECT_EQ(client->readReply().status, 413);
}

TEST_F(RelayServer, TakesHeadersOfSixteenKibibytesAndNoMore) {
  start();
  const auto ask = [&](std::size_t size) {
    const std::string begin = "GET /healthz HTTP/1.1\r\nHost: x\r\nX-Long: ";
    const auto client = wire();
    client->write(begin + std::string(size - begin.size() - 4, 'x') + "\r\n\r\n");
    return client->readReply().status;
  };
  EXPECT_EQ(ask(16 * 1024), 200);
  EXPECT_EQ(ask(16 * 1024 + 1), 431);
  // Nor in many small ones, line by line.
  const auto client = wire();
  client->write("GET /healthz HTTP/1.1\r\nHost: x\r\n");
  const std::string line = "X-Line: " + std::string(1000, 'x') + "\r\n";
  int lines = 0;
  constexpr int kMoreThanFitsIntoBuffers = 20'000;
  while (lines < kMoreThanFitsIntoBuffers && client->write(line)) ++lines;
  EXPECT_LT(lines, kMoreThanFitsIntoBuffers);
}

TEST_F(RelayServer, RefusesWhatIsNoHttp) {
  start();
  for (const char* bytes : {"nonsense\r\n\r\n", "GET / HTTP/1.1\r\nbad header\r\n\r\n", "GET / HTTP/9.9\r\n\r\n",
                            "PUT / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"}) {
    const auto client = wire();
    client->write(bytes);
    EXPECT_EQ(client->readReply().status, 400) << bytes;
  }
}

TEST_F(RelayServer, RefusesWebSocketsBeforeTheUpgrade) {
  start();
  EXPECT_EQ(knock("role=tablet&pairing=" + kName), 400);
  EXPECT_EQ(knock(agentQuery() + "&role=mac"), 400);
  EXPECT_EQ(knock(agentQuery(), {}), 401);
  EXPECT_EQ(knock(agentQuery("unknown")), 401);
  EXPECT_EQ(knock(agentQuery(), {{"Authorization", "Bearer " + std::string(64, 'b')}}), 401);
  const auto oldVersion = wire()->ask("GET", "/ws?" + agentQuery(),
                                      {{"Upgrade", "websocket"},
                                       {"Connection", "Upgrade"},
                                       {"Sec-WebSocket-Version", "8"},
                                       {"Sec-WebSocket-Key", "AAAAAAAAAAAAAAAAAAAAAA=="},
                                       kBearer[0]});
  EXPECT_EQ(oldVersion.status, 426);
}

TEST_F(RelayServer, AnswersTheSubprotocolThatHoldsNoToken) {
  start();
  const auto browser = wire();
  const auto reply =
      browser->upgrade(phoneQuery("A"), {{"Sec-WebSocket-Protocol", "quillard.v1, quillard.bearer." + kToken}});
  EXPECT_EQ(reply.status, 101);
  EXPECT_EQ(reply.headers.at("sec-websocket-protocol"), "quillard.v1");
  const auto agent = wire();
  EXPECT_EQ(agent->upgrade(agentQuery(), kBearer).headers.count("sec-websocket-protocol"), 0U);
}

TEST_F(RelayServer, LimitsRegistrationsAndHandshakesOfAnAddress) {
  relay = std::make_unique<RelayProgram>();
  for (int i = 0; i < 20; ++i) EXPECT_EQ(registerToken(), 204);
  const auto refused = wire()->ask("PUT", "/api/pairings/x/relay-token", kBearer, kRegistration);
  EXPECT_EQ(refused.status, 429);
  EXPECT_NE(refused.headers.at("retry-after"), "");
  for (int i = 0; i < 60; ++i) EXPECT_EQ(knock(agentQuery("unknown")), 401);
  EXPECT_EQ(knock(agentQuery("unknown")), 429);
}

TEST_F(RelayServer, HoldsAsManyPairingsAsItIsTold) {
  start({"--pairings", "1"});
  EXPECT_EQ(registerToken(kToken, "another"), 507);
}

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
  for (const auto* phone : {&one, &two}) EXPECT_EQ((*phone)->read("approval.result")["phone"]["deviceID"], "A");

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
  EXPECT_EQ(knock(phoneQuery("9")), 503);
  EXPECT_EQ(knock(phoneQuery("3")), 101);
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
  const auto patient = join(phoneQuery("D"));
  patient->sendFrame(Opcode::text, std::string(1024 * 1024, ' '), false);
  patient->sendFrame(Opcode::continuation, " ");
  EXPECT_EQ(patient->readClose(), 1009);
}

TEST_F(RelayServer, TakesAMessageOfOneMebibyte) {
  start();
  const auto phone = join(phoneQuery("A"));
  const auto agent = join(agentQuery());
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

TEST_F(RelayServer, RevokesAPairingForGood) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  agent->say(unpair());
  EXPECT_EQ(phone->readClose(), 4002);
  EXPECT_EQ(agent->readClose(), 4002);
  EXPECT_EQ(registerToken(), 410);
  EXPECT_EQ(knock(agentQuery()), 410);
  EXPECT_EQ(wire()->ask("GET", "/api/pairings/" + kName, kBearer).status, 410);
  relay->killAndRestart();
  EXPECT_EQ(registerToken(), 410);
}

TEST_F(RelayServer, RemovesOnePhone) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  agent->say(unpair("A"));
  EXPECT_EQ(phone->readClose(), 4003);
  EXPECT_EQ(knock(phoneQuery("A")), 403);
  relay->killAndRestart();
  EXPECT_EQ(knock(phoneQuery("A")), 403);
  EXPECT_EQ(knock(phoneQuery("B")), 101);
}

TEST_F(RelayServer, KeepsRegistrationsWhenItIsKilled) {
  start();
  relay->killAndRestart();
  EXPECT_EQ(knock(agentQuery()), 101);
  EXPECT_EQ(registerToken(std::string(64, 'b')), 401);
}

TEST_F(RelayServer, EndsConnectionsThatDoNotFinishTheirHandshake) {
  start({"--handshake-milliseconds", "300"});
  const auto silent = wire();
  EXPECT_TRUE(silent->isEnded());
  const auto half = wire();
  half->write("GET /healthz HTTP/1.1\r\nHost:");
  EXPECT_TRUE(half->isEnded());
}

TEST_F(RelayServer, PingsAndDropsThoseWhoNeverAnswer) {
  start({"--ping-milliseconds", "100", "--idle-milliseconds", "1500"});
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

TEST_F(RelayServer, SaysGoodbyeAndLeavesWithinASecondWhenItIsTold) {
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
    EXPECT_LT(steady_clock::now() - start, seconds(1));
  }
}

TEST_F(RelayServer, DoesNotWaitForeverForThoseWhoDoNotAnswerItsGoodbye) {
  start();
  const auto agent = join(agentQuery());
  const auto start = steady_clock::now();
  relay->signal(SIGTERM);
  EXPECT_EQ(relay->wait(), 0);
  EXPECT_LT(steady_clock::now() - start, seconds(6));
}

TEST_F(RelayServer, ServesThePageWithItsHeaders) {
  const TemporaryFolder page;
  std::ofstream(page.path() + "/index.html") << "<title>Quillard</title>";
  start({"--page", page.path()});
  const auto client = wire();
  const auto reply = client->ask("GET", "/");
  EXPECT_EQ(reply.body, "<title>Quillard</title>");
  EXPECT_EQ(reply.headers.at("content-security-policy"),
            "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; connect-src 'self'; "
            "manifest-src 'self'; worker-src 'self'; media-src 'self' blob:; base-uri 'none'; form-action 'none'; "
            "frame-ancestors 'none'");
  EXPECT_EQ(reply.headers.at("permissions-policy"), "camera=(self)");
  EXPECT_EQ(reply.headers.at("x-content-type-options"), "nosniff");
  EXPECT_EQ(reply.headers.at("referrer-policy"), "no-referrer");
  EXPECT_EQ(reply.headers.count("strict-transport-security"), 0U);
  const auto head = client->ask("HEAD", "/");
  EXPECT_EQ(head.headers.at("content-length"), "23");
  EXPECT_EQ(client->ask("GET", "/", {{"If-None-Match", head.headers.at("etag")}}).status, 304);
  EXPECT_EQ(client->ask("GET", "/../relay.db").status, 404);
  EXPECT_EQ(client->ask("GET", "/%2e%2e/relay.db").status, 404);
}

TEST_F(RelayServer, SpeaksTlsAndTakesANewCertificate) {
  const TestAuthority authority;
  const TemporaryFolder folder;
  const auto install = [&] {
    const auto identity = authority.issue();
    std::ofstream(folder.path() + "/certificate") << identity.certificate;
    std::ofstream(folder.path() + "/key") << identity.key;
  };
  install();
  relay = std::make_unique<RelayProgram>(arguments({"--tls-certificate", folder.path() + "/certificate", "--tls-key",
                                                    folder.path() + "/key", "--handshake-milliseconds", "1500"}));
  RelayWire client(relay->port(), authority.certificate());
  EXPECT_EQ(client.ask("PUT", "/api/pairings/" + kName + "/relay-token", kBearer, kRegistration).status, 204);
  EXPECT_EQ(client.ask("GET", "/healthz").headers.count("strict-transport-security"), 1U);
  RelayWire agent(relay->port(), authority.certificate());
  ASSERT_EQ(agent.upgrade(agentQuery(), kBearer).status, 101);
  EXPECT_EQ(agent.read("phone.status")["phoneCount"], 0);
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(600 * 1024, 'A');
  agent.say(message);
  RelayWire phone(relay->port(), authority.certificate());
  ASSERT_EQ(phone.upgrade(phoneQuery("A"), kBearer).status, 101);
  EXPECT_EQ(phone.read("mac.snapshot"), message);

  install();
  relay->signal(SIGHUP);
  while (relay->output().find("read again") == std::string::npos) std::this_thread::sleep_for(milliseconds(5));
  RelayWire later(relay->port(), authority.certificate());
  EXPECT_EQ(later.ask("GET", "/healthz").status, 200);
  // Old connections stay; a broken certificate changes nothing.
  agent.say(snapshot());
  EXPECT_EQ(phone.read("mac.snapshot"), snapshot());
  std::ofstream(folder.path() + "/certificate") << "broken";
  relay->signal(SIGHUP);
  while (relay->output().find("stays as it was") == std::string::npos) std::this_thread::sleep_for(milliseconds(5));
  RelayWire last(relay->port(), authority.certificate());
  EXPECT_EQ(last.ask("GET", "/healthz").status, 200);
  // Whoever does not speak TLS is not waited for.
  EXPECT_TRUE(wire()->isEnded());
  relay->signal(SIGTERM);
  EXPECT_EQ(phone.readClose(), 1012);
  EXPECT_EQ(agent.readClose(), 1012);
  EXPECT_EQ(relay->wait(), 0);
}

TEST_F(RelayServer, BelievesATrustedProxyWhomItSpeaksFor) {
  relay = std::make_unique<RelayProgram>(std::vector<std::string>{"--behind-proxy", "--registration-burst", "1"});
  const auto put = [&](const std::string& client) {
    return wire()
        ->ask("PUT", "/api/pairings/" + kName + "/relay-token", {kBearer[0], {"X-Forwarded-For", client}},
              kRegistration)
        .status;
  };
  EXPECT_EQ(put("192.0.2.1"), 204);
  EXPECT_EQ(put("192.0.2.1"), 429);
  EXPECT_EQ(put("192.0.2.2"), 204);
  EXPECT_EQ(put("192.0.2.3, 192.0.2.2"), 429);
}

TEST_F(RelayServer, CountsWithoutNamingAnybody) {
  start({"--metrics", "127.0.0.1:0"});
  const auto agent = join(agentQuery());
  RelayWire prometheus(relay->metricsPort().value());
  const auto reply = prometheus.ask("GET", "/metrics");
  EXPECT_NE(reply.body.find("quillard_relay_connections{kind=\"mac\"} 1\n"), std::string::npos);
  EXPECT_EQ(reply.body.find(kName), std::string::npos);
  EXPECT_EQ(prometheus.ask("GET", "/").status, 404);
  EXPECT_EQ(wire()->ask("GET", "/metrics").status, 404);
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

TEST_F(RelayServer, RefusesToStartWhereItCannot) {
  const auto exitCode = [](const std::vector<std::string>& more) {
    std::vector<std::string> command{QUILLARD_RELAY_PROGRAM};
    command.insert(command.end(), more.begin(), more.end());
    return ChildProcess({.command = command, .environment = presentEnvironment()}).wait();
  };
  const TemporaryFolder folder;
  const std::string database = folder.path() + "/relay.db";
  EXPECT_EQ(exitCode({}), 2);
  EXPECT_EQ(exitCode({"--database", database, "--listen", "0.0.0.0:0"}), 2);
  EXPECT_EQ(exitCode({"--database", "/missing/relay.db", "--listen", "127.0.0.1:0"}), 3);
  EXPECT_EQ(exitCode({"--database", database, "--listen", "127.0.0.1:0", "--page", folder.path()}), 3);
  EXPECT_EQ(exitCode({"--database", database, "--listen", "127.0.0.1:0", "--tls-certificate", "/missing", "--tls-key",
                      "/missing"}),
            3);
  start();
  EXPECT_EQ(exitCode({"--database", database, "--listen", "127.0.0.1:" + std::to_string(relay->port())}), 3);
  EXPECT_EQ(exitCode({"--version"}), 0);
}

}  // namespace
}  // namespace quillard::test
