#include <chrono>
#include <string>

#include "contract/WebSocketScripts.h"
#include "support/ChildProcess.h"

namespace quillard::test {
namespace {

using platform::BinaryMessage;
using platform::WebSocketCloseCode;
using platform::WebSocketMessage;
using platform::WebSocketRequest;
using namespace std::chrono_literals;

TEST_P(WebSocketContract, SendsTheRequestAsAskedAndOpens) {
  Awaited<std::string> head;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    head.set(connection.head);
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws", pathWithCanary())));
  ASSERT_TRUE(client.waitForOpen());
  const std::string sent = head.get().value_or("");
  EXPECT_EQ(sent.find("GET " + pathWithCanary() + " HTTP/1.1\r\n"), 0U) << sent;
  EXPECT_NE(sent.find("authorization: Bearer " + std::string(kCanaryHeader) + "\r\n"), std::string::npos) << sent;
  EXPECT_NE(sent.find("Host: 127.0.0.1:" + std::to_string(server.port()) + "\r\n"), std::string::npos) << sent;
  EXPECT_EQ(client.opened.count(), 1U);
}

TEST_P(WebSocketContract, TakesTheSchemeInAnyLetterCase) {
  ScriptedServer server(echo);
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("WS")));
  EXPECT_TRUE(client.waitForOpen());
}

TEST_P(WebSocketContract, CarriesTextsBothWaysInOrder) {
  ScriptedServer server(echo);
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(client.waitForOpen());
  const std::vector<std::string> texts{"{\"type\":\"a\"}", "", "Grüße \xF0\x9F\x94\x91 \xE2\x80\x8B",
                                       std::string(200'000, 'x')};
  for (const auto& text : texts) EXPECT_EQ(client.send(text), "");
  for (const auto& text : texts) EXPECT_EQ(client.receiveText(), text);
}

TEST_P(WebSocketContract, KeepsMessagesUntilTheyAreAskedForAndReportsTheEndAfterThem) {
  Awaited<bool> ended;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    for (const char* text : {"one", "two", "three"}) connection.sendFrame(Opcode::text, text);
    connection.sendFrame(Opcode::close, std::string("\x03\xE8", 2));
    connection.waitForEnd();
    ended.set(true);
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(ended.get().has_value());
  EXPECT_EQ(client.receiveText(), "one");
  EXPECT_EQ(client.receiveText(), "two");
  EXPECT_EQ(client.receiveText(), "three");
  for (int receive = 0; receive < 2; ++receive) {  // The end stays the end.
    const auto end = client.receiveEnd();
    ASSERT_TRUE(end.has_value());
    EXPECT_EQ(end->closeCode, 1000);
    EXPECT_NE(end->error.description, "");
  }
}

TEST_P(WebSocketContract, JoinsAMessageThatCameInPieces) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::text, "first ", false);
    connection.sendFrame(Opcode::ping, "between");
    connection.sendFrame(Opcode::continuation, "second", true);
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  EXPECT_EQ(client.receiveText(), "first second");
}

// The relay's protocol has whole texts only; RFC 6455 allows this all the same.
TEST_P(WebSocketContract, JoinsAMessageThatWasCutInsideOfCharacters) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::text, "a\xC3", false);
    connection.sendFrame(Opcode::continuation, "\xA4\xF0\x9F", false);
    connection.sendFrame(Opcode::continuation, "\x98", false);
    connection.sendFrame(Opcode::continuation, "\x80z", true);
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  EXPECT_EQ(client.receiveText(), "a\xC3\xA4\xF0\x9F\x98\x80z");
}

TEST_P(WebSocketContract, DeliversBinaryMessagesAsBytes) {
  const std::string bytes("\x00\xFF\x80\x0A", 4);
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::binary, bytes);
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  const auto receipt = client.receive();
  ASSERT_TRUE(std::holds_alternative<WebSocketMessage>(receipt));
  const auto* message = std::get_if<BinaryMessage>(&std::get<WebSocketMessage>(receipt));
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->bytes, (std::vector<std::uint8_t>{0x00, 0xFF, 0x80, 0x0A}));
}

TEST_P(WebSocketContract, AnswersPings) {
  Awaited<Frame> answer;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::ping, "are you there");
    if (const auto frame = connection.readFrame()) answer.set(*frame);
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  EXPECT_EQ(answer.get(), (Frame{Opcode::pong, "are you there"}));
}

TEST_P(WebSocketContract, ReportsTheCodeThatTheServerClosedWith) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::close, std::string("\x0F\xA1", 2) + "revoked");  // 4001
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  const auto end = client.receiveEnd();
  ASSERT_TRUE(end.has_value());
  EXPECT_EQ(end->closeCode, 4001);
  const std::string& text = end->error.description;
  EXPECT_NE(text.find("4001"), std::string::npos) << text;
  EXPECT_EQ(text.find("revoked"), std::string::npos) << text;  // The server's own words stay out of the log.
}

TEST_P(WebSocketContract, SendsTheCloseMessageWithTheCodeAndNoReasonEvenWhenTheTaskIsDestroyedRightAfter) {
  Awaited<Frame> last;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    if (const auto frame = connection.readFrame()) last.set(*frame);
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(client.waitForOpen());
  client.cancel(WebSocketCloseCode::goingAway);
  client.destroy();
  EXPECT_EQ(last.get(), (Frame{Opcode::close, std::string("\x03\xE9", 2)}));
}

TEST_P(WebSocketContract, EndsACancelledConnectionThoughTheServerDoesNotAnswer) {
  Awaited<bool> ended;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.waitForEnd();
    ended.set(true);
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(client.waitForOpen());
  client.beginReceive();
  client.cancel(WebSocketCloseCode::goingAway);
  EXPECT_TRUE(ended.get().has_value());
  const auto receipt = client.received.get();
  ASSERT_TRUE(receipt.has_value());
  const auto* end = std::get_if<platform::WebSocketEnd>(&*receipt);
  ASSERT_NE(end, nullptr);
  EXPECT_EQ(end->closeCode, std::nullopt);  // The server's code, not this side's.
  EXPECT_NE(client.send("too late"), "");
  EXPECT_NE(client.receiveError(), "");
}

TEST_P(WebSocketContract, CancellingBeforeTheConnectionIsOpenEndsIt) {
  Awaited<bool> ended;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.readHead();
    connection.readBytes(1);  // Never answers.
    ended.set(true);
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  while (server.accepted() == 0) std::this_thread::sleep_for(1ms);
  client.cancel(WebSocketCloseCode::goingAway);
  EXPECT_TRUE(ended.get().has_value());
  EXPECT_NE(client.receiveError(), "");
  EXPECT_EQ(client.opened.count(), 0U);
}

TEST_P(WebSocketContract, IsSilentOnceDestroyedAndClosesTheConnection) {
  Awaited<bool> ended;
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    while (connection.sendFrame(Opcode::text, "more")) std::this_thread::sleep_for(100us);
    ended.set(true);
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(client.waitForOpen());
  client.beginReceive();
  client.beginReceive();
  const auto start = std::chrono::steady_clock::now();
  client.destroy();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 500ms);
  const auto reports = client.received.count() + client.sent.count();
  EXPECT_TRUE(ended.get().has_value());
  onExecutor(binding->executor(), [] {});
  EXPECT_EQ(client.received.count() + client.sent.count(), reports);
}

TEST_P(WebSocketContract, ATaskMayBeDestroyedFromItsOwnCallback) {
  ScriptedServer server(echo);
  const auto binding = make();
  Awaited<bool> gone;
  std::unique_ptr<platform::WebSocketTask> task;
  int late = 0;
  onExecutor(binding->executor(), [&] {
    task = binding->webSockets().makeTask(binding->executor(), requestTo(server.url("ws")), [&] {
      task->sendText("never answered", [&](const auto&) { ++late; });
      task->receive([&](const auto&) { ++late; });
      task.reset();
      gone.set(true);
    });
    task->start();
  });
  ASSERT_TRUE(gone.get().has_value());
  onExecutor(binding->executor(), [] {});
  EXPECT_EQ(onExecutor(binding->executor(), [&] { return late; }), 0);
}

TEST_P(WebSocketContract, SpeaksTlsWithAServerOfATrustedAuthority) {
  const TestAuthority authority;
  ScriptedServer server(echo, authority.issue());
  const AuthorityFile file(authority);
  const auto binding = make();
  WebSocketRequest request = requestTo(server.url("wss"), file.path());
  request.longestMessage = 300'000;
  WebSocketClient client(*binding, request);
  ASSERT_TRUE(client.waitForOpen());
  const std::string large(300'000, 'x');
  EXPECT_EQ(client.send(large), "");
  EXPECT_EQ(client.receiveText(), large);
}

TEST_P(WebSocketContract, ChecksTheNameThatTheAddressGives) {
  const TestAuthority authority;
  ScriptedServer server(echo, authority.issue({.names = "DNS:localhost"}));
  const AuthorityFile file(authority);
  const auto binding = make();
  WebSocketClient byName(*binding, requestTo(server.url("wss", "/ws", "localhost"), file.path()));
  EXPECT_TRUE(byName.waitForOpen());
  WebSocketClient byNumber(*binding, requestTo(server.url("wss"), file.path()));
  EXPECT_NE(byNumber.receiveError(), "");
}

TEST_P(WebSocketContract, RefusesCertificatesOfUntrustedAuthorities) {
  const TestAuthority authority;
  const AuthorityFile file(authority);
  const auto binding = make();
  for (const auto& bad : badCertificates(authority)) {
    bool wasSpokenTo = false;
    ScriptedServer server([&](ServerConnection& connection) { wasSpokenTo = !connection.readHead().empty(); },
                          bad.identity);
    {
      WebSocketClient client(*binding, requestTo(server.url("wss", pathWithCanary()), file.path()));
      const std::string error = client.receiveError();
      EXPECT_EQ(error.find("The server's certificate was refused: "), 0U) << bad.name << ": " << error;
      expectNoSecret(error);
      EXPECT_EQ(client.opened.count(), 0U);
    }
    EXPECT_FALSE(wasSpokenTo) << bad.name;
  }
}

TEST_P(WebSocketContract, TrustsNoAuthorityByItself) {
  const TestAuthority authority;
  ScriptedServer server(echo, authority.issue());
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("wss")));
  EXPECT_NE(client.receiveError(), "");
}

TEST_P(WebSocketContract, FailsWhenTheServerSpeaksNoTls) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.readBytes(10);
    connection.write("HTTP/1.1 400 Bad Request\r\n\r\n");
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("wss")));
  EXPECT_NE(client.receiveError(), "");
}

TEST_P(WebSocketContract, HandlesManyConnectionsSeparately) {
  ScriptedServer server(echo);
  const auto binding = make();
  std::vector<std::unique_ptr<WebSocketClient>> clients;
  for (int i = 0; i < 20; ++i) {
    clients.push_back(std::make_unique<WebSocketClient>(*binding, requestTo(server.url("ws"))));
  }
  for (auto& client : clients) ASSERT_TRUE(client->waitForOpen());
  for (std::size_t i = 0; i < clients.size(); ++i) EXPECT_EQ(clients[i]->send(std::to_string(i)), "");
  for (std::size_t i = 0; i < clients.size(); ++i) EXPECT_EQ(clients[i]->receiveText(), std::to_string(i));
}

TEST_P(WebSocketContract, ComesBackToAServerThatIsKilledAndStartedAgain) {
  const auto binding = make();
  std::string port = "0";
  for (int life = 1; life <= 5; ++life) {
    ChildProcess server({.command = {ECHO_SERVER, port}, .environment = presentEnvironment()});
    port = server.readLine().value_or("");
    ASSERT_NE(port, "") << "life " << life;
    WebSocketClient client(*binding, requestTo("ws://127.0.0.1:" + port + "/ws"));
    ASSERT_TRUE(client.waitForOpen()) << "life " << life;
    EXPECT_EQ(client.send("hello"), "");
    EXPECT_EQ(client.receiveText(), "hello");
    client.beginReceive();
    server.kill();
    ASSERT_TRUE(client.received.get(1).has_value()) << "life " << life;
    EXPECT_TRUE(std::holds_alternative<platform::WebSocketEnd>(*client.received.get(1)));
    EXPECT_EQ(client.opened.count(), 1U);
  }
}

}  // namespace

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(WebSocketContract);

}  // namespace quillard::test
