#include <csignal>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "contract/support/TestAuthority.h"
#include "e2e/RelayServerFixture.h"

// What the real relay answers before there is a connection, by each status that its protocol names, and each limit.
namespace quillard::test {
namespace {

using relayserver::snapshot;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

using RelayServerRequests = RelayServer;

TEST_F(RelayServerRequests, AnswersRegistrationsQuestionsAndHealth) {
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

TEST_F(RelayServerRequests, TakesABodyOfFourKibibytesAndNoMore) {
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

TEST_F(RelayServerRequests, TakesHeadersOfSixteenKibibytesAndNoMore) {
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

TEST_F(RelayServerRequests, RefusesWhatIsNoHttp) {
  start();
  for (const char* bytes :
       {"nonsense\r\n\r\n", "GET /healthz HTTP/1.1\r\n\r\n", "GET /healthz HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n",
        "GET /healthz HTTP/1.0\r\nHost: a\r\nHost: b\r\n\r\n", "GET / HTTP/1.1\r\nbad header\r\n\r\n",
        "GET / HTTP/9.9\r\n\r\n", "PUT / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"}) {
    const auto client = wire();
    client->write(bytes);
    EXPECT_EQ(client->readReply().status, 400) << bytes;
  }
  const auto older = wire();
  older->write("GET /healthz HTTP/1.0\r\n\r\n");
  EXPECT_EQ(older->readReply().status, 200);
}

TEST_F(RelayServerRequests, RefusesWebSocketsBeforeTheUpgrade) {
  start();
  EXPECT_EQ(connect("role=tablet&pairing=" + kName), 400);
  EXPECT_EQ(connect(agentQuery() + "&role=mac"), 400);
  EXPECT_EQ(connect(agentQuery(), {}), 401);
  EXPECT_EQ(connect(agentQuery("unknown")), 401);
  EXPECT_EQ(connect(agentQuery(), {{"Authorization", "Bearer " + std::string(64, 'b')}}), 401);
  const auto oldVersion = wire()->ask("GET", "/ws?" + agentQuery(),
                                      {{"Upgrade", "websocket"},
                                       {"Connection", "Upgrade"},
                                       {"Sec-WebSocket-Version", "8"},
                                       {"Sec-WebSocket-Key", "AAAAAAAAAAAAAAAAAAAAAA=="},
                                       kBearer[0]});
  EXPECT_EQ(oldVersion.status, 426);
}

TEST_F(RelayServerRequests, AnswersTheSubprotocolThatHoldsNoToken) {
  start();
  const auto browser = wire();
  const auto reply =
      browser->upgrade(phoneQuery("A"), {{"Sec-WebSocket-Protocol", "quillard.v1, quillard.bearer." + kToken}});
  EXPECT_EQ(reply.status, 101);
  EXPECT_EQ(reply.headers.at("sec-websocket-protocol"), "quillard.v1");
  const auto agent = wire();
  EXPECT_EQ(agent->upgrade(agentQuery(), kBearer).headers.count("sec-websocket-protocol"), 0U);
}

TEST_F(RelayServerRequests, LimitsRegistrationsAndHandshakesOfAnAddress) {
  relay = std::make_unique<RelayProgram>();
  relay->useOne();
  const auto begin = steady_clock::now();
  const auto timesUntil429 = [&](const auto& ask, int expected) {
    int times = 0;
    for (int status = expected; (status = ask()) != 429; ++times) EXPECT_EQ(status, expected);
    return times;
  };
  const int registrations = timesUntil429([&] { return registerToken(); }, 204);
  const int handshakes = timesUntil429([&] { return connect(agentQuery("unknown")); }, 401);
  const auto refilled = static_cast<int>(std::chrono::ceil<seconds>(steady_clock::now() - begin).count());
  EXPECT_GE(registrations, 20);
  EXPECT_LE(registrations, 20 + refilled);
  EXPECT_GE(handshakes, 60);
  EXPECT_LE(handshakes, 60 + refilled);
  const auto refused = wire()->ask("PUT", "/api/pairings/x/relay-token", kBearer, kRegistration);
  EXPECT_EQ(refused.status, 429);
  EXPECT_NE(refused.headers.at("retry-after"), "");
}

TEST_F(RelayServerRequests, HoldsAsManyPairingsAsItIsTold) {
  start({"--pairings", "1"});
  EXPECT_EQ(connect(agentQuery()), 101);
  EXPECT_EQ(registerToken(kToken, "another"), 507);
}

TEST_F(RelayServerRequests, EndsConnectionsThatDoNotFinishTheirHandshake) {
  start({"--handshake-milliseconds", "1000"});
  const auto silent = wire();
  EXPECT_TRUE(silent->isEnded());
  const auto half = wire();
  half->write("GET /healthz HTTP/1.1\r\nHost:");
  EXPECT_TRUE(half->isEnded());
}

TEST_F(RelayServerRequests, ServesThePageWithItsHeaders) {
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

TEST_F(RelayServerRequests, SpeaksTlsAndTakesANewCertificate) {
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
  relay->useOne();
  relay->signal(SIGHUP);
  while (relay->output().find("read again") == std::string::npos) std::this_thread::sleep_for(milliseconds(5));
  RelayWire later(relay->port(), authority.certificate());
  EXPECT_NE(later.certificate(), client.certificate());
  EXPECT_EQ(later.ask("GET", "/healthz").status, 200);
  // Old connections stay; a broken certificate changes nothing.
  agent.say(snapshot());
  EXPECT_EQ(phone.read("mac.snapshot"), snapshot());
  std::ofstream(folder.path() + "/certificate") << "broken";
  relay->signal(SIGHUP);
  while (relay->output().find("stays as it was") == std::string::npos) std::this_thread::sleep_for(milliseconds(5));
  RelayWire last(relay->port(), authority.certificate());
  EXPECT_EQ(last.certificate(), later.certificate());
  EXPECT_EQ(last.ask("GET", "/healthz").status, 200);
  // Whoever does not speak TLS is not waited for.
  EXPECT_TRUE(wire()->isEnded());
  relay->signal(SIGTERM);
  EXPECT_EQ(phone.readClose(), 1012);
  EXPECT_EQ(agent.readClose(), 1012);
  EXPECT_EQ(relay->wait(), 0);
}

TEST_F(RelayServerRequests, BelievesATrustedProxyWhomItSpeaksFor) {
  relay = std::make_unique<RelayProgram>(std::vector<std::string>{"--behind-proxy", "--registration-burst", "1"});
  relay->useOne();
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

TEST_F(RelayServerRequests, CountsWithoutNames) {
  start({"--metrics", "127.0.0.1:0"});
  relay->useOne();
  const auto agent = join(agentQuery());
  RelayWire prometheus(relay->metricsPort().value());
  const auto reply = prometheus.ask("GET", "/metrics");
  EXPECT_NE(reply.body.find("quillard_relay_connections{kind=\"mac\"} 1\n"), std::string::npos);
  EXPECT_EQ(reply.body.find(kName), std::string::npos);
  EXPECT_EQ(prometheus.ask("GET", "/").status, 404);
  EXPECT_EQ(wire()->ask("GET", "/metrics").status, 404);
}

TEST_F(RelayServerRequests, RefusesToStartWhereItCannot) {
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
