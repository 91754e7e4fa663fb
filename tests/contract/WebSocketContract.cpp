#include <chrono>
#include <string>

#include "contract/TransportContract.h"
#include "support/ChildProcess.h"

namespace quillard::test {
namespace {

using platform::BinaryMessage;
using platform::HttpHeader;
using platform::Seconds;
using platform::WebSocketCloseCode;
using platform::WebSocketMessage;
using platform::WebSocketRequest;
using namespace std::chrono_literals;

WebSocketRequest requestTo(const std::string& url) {
  return {.url = url, .headers = {{"authorization", "Bearer " + std::string(kCanaryHeader)}}};
}

std::string pathWithCanary() { return "/ws?pairing=" + std::string(kCanaryQuery) + "&role=mac"; }

void echo(ServerConnection& connection) {
  if (!connection.acceptWebSocket()) return;
  while (const auto frame = connection.readFrame()) {
    if (frame->opcode == Opcode::text && !connection.sendFrame(Opcode::text, frame->payload)) return;
    if (frame->opcode == Opcode::ping) connection.sendFrame(Opcode::pong, frame->payload);
    if (frame->opcode == Opcode::close) return;
  }
}

// Answers the opening request with `response` instead of a WebSocket.
Script answerWith(const std::string& response) {
  return [response](ServerConnection& connection) {
    connection.readHead();
    connection.write(response);
  };
}

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

TEST_P(WebSocketContract, KeepsMessagesUntilTheyAreAskedFor) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    for (const char* text : {"one", "two", "three"}) connection.sendFrame(Opcode::text, text);
    connection.sendFrame(Opcode::close, std::string("\x03\xE8", 2));
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_EQ(client.closed.get(), 1000);
  EXPECT_EQ(client.receiveText(), "one");
  EXPECT_EQ(client.receiveText(), "two");
  EXPECT_EQ(client.receiveText(), "three");
  EXPECT_NE(client.receiveError(), "");
  EXPECT_NE(client.receiveError(), "");  // The end stays the end.
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

TEST_P(WebSocketContract, TellsTheCodeThatTheServerClosedWith) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::close, std::string("\x0F\xA1", 2) + "revoked");  // 4001
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  const std::string error = client.receiveError();
  EXPECT_NE(error.find("4001"), std::string::npos) << error;
  EXPECT_EQ(error.find("revoked"), std::string::npos) << error;  // The server's own words stay out of the log.
  EXPECT_EQ(client.closed.get(), 4001);
  EXPECT_EQ(client.closed.count(), 1U);
}

TEST_P(WebSocketContract, SaysGoodbyeWithTheCodeAndNoReasonEvenWhenTheTaskGoesAtOnce) {
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
  EXPECT_TRUE(std::holds_alternative<platform::TransportError>(*receipt));
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
  const auto heard = client.received.count() + client.closed.count() + client.sent.count();
  EXPECT_TRUE(ended.get().has_value());
  onExecutor(binding->executor(), [] {});
  EXPECT_EQ(client.received.count() + client.closed.count() + client.sent.count(), heard);
}

TEST_P(WebSocketContract, ATaskMayBeDestroyedFromItsOwnCallback) {
  ScriptedServer server(echo);
  const auto binding = make();
  Awaited<bool> gone;
  std::unique_ptr<platform::WebSocketTask> task;
  int late = 0;
  onExecutor(binding->executor(), [&] {
    task = binding->webSockets().makeTask(binding->executor(), requestTo(server.url("ws")), {.didOpen = [&] {
                                            task->sendText("never answered", [&](const auto&) { ++late; });
                                            task->receive([&](const auto&) { ++late; });
                                            task.reset();
                                            gone.set(true);
                                          }});
    task->start();
  });
  ASSERT_TRUE(gone.get().has_value());
  onExecutor(binding->executor(), [] {});
  EXPECT_EQ(onExecutor(binding->executor(), [&] { return late; }), 0);
}

TEST_P(WebSocketContract, RefusesToSendBeforeItIsOpen) {
  ScriptedServer server([](ServerConnection& connection) { connection.readBytes(1'000'000); });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  EXPECT_NE(client.send("early"), "");
}

TEST_P(WebSocketContract, FailsWhenNobodyListens) {
  const auto binding = make();
  WebSocketClient client(*binding, requestTo("ws://127.0.0.1:" + std::to_string(deadPort()) + pathWithCanary()));
  const std::string error = client.receiveError();
  EXPECT_EQ(error, "The connection was refused.");
  EXPECT_EQ(client.opened.count(), 0U);
}

TEST_P(WebSocketContract, FailsOnAddressesAndHeadersThatCannotBeUsed) {
  const auto binding = make();
  const std::string good = "ws://127.0.0.1:" + std::to_string(deadPort()) + "/ws";
  for (const std::string url : {"", "not an address", "http://127.0.0.1/", "ws://", "ws://127.0.0.1:99999/",
                                "ws://user:canaryheader91bc@127.0.0.1/", "ws://127.0.0.1/\r\nX: y"}) {
    WebSocketClient client(*binding, requestTo(url));
    EXPECT_EQ(client.receiveError(), "The address cannot be used.") << url;
  }
  for (const HttpHeader& header : {HttpHeader{"a", "b\r\nInjected: c"}, HttpHeader{"a b", "c"}, HttpHeader{"", "c"},
                                   HttpHeader{"a", std::string("b\0c", 3)}}) {
    WebSocketClient client(*binding, {.url = good, .headers = {header}});
    EXPECT_EQ(client.receiveError(), "The request's headers cannot be sent.");
  }
}

TEST_P(WebSocketContract, FailsWithTheStatusWhenTheServerAnswersWithHttp) {
  const auto binding = make();
  const std::vector<std::pair<std::string, std::string>> answers{
      {"200", "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 13\r\n\r\n<html></html>"},
      {"302", "HTTP/1.1 302 Found\r\nLocation: ws://127.0.0.1:1/\r\nContent-Length: 0\r\n\r\n"},
      {"401", "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n"},
      {"407", "HTTP/1.1 407 Proxy Authentication Required\r\nProxy-Authenticate: Basic\r\nContent-Length: 0\r\n\r\n"},
      {"410", "HTTP/1.1 410 Gone\r\nContent-Length: 0\r\n\r\n"},
      {"503", "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n"}};
  for (const auto& [status, answer] : answers) {
    ScriptedServer server(answerWith(answer));
    WebSocketClient client(*binding, requestTo(server.url("ws", pathWithCanary())));
    const std::string error = client.receiveError();
    EXPECT_NE(error.find("HTTP " + status), std::string::npos) << status << ": " << error;
    expectNoSecret(error);
    EXPECT_EQ(client.opened.count(), 0U);
    EXPECT_EQ(server.accepted(), 1) << "A demand or a redirect was followed.";
  }
}

TEST_P(WebSocketContract, FailsOnAHandshakeThatIsNone) {
  const auto binding = make();
  for (const std::string answer : {"SSH-2.0-Nothing\r\n\r\n", "HTTP/1.1 101 Switching Protocols\r\n\r\n", "",
                                   "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                                   "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n"}) {
    ScriptedServer server(answerWith(answer));
    WebSocketClient client(*binding, requestTo(server.url("ws", pathWithCanary())));
    const std::string error = client.receiveError();
    EXPECT_NE(error, "") << answer;
    expectNoSecret(error);
    EXPECT_EQ(client.opened.count(), 0U);
  }
}

TEST_P(WebSocketContract, GivesUpOpeningAfterTheTimeAskedFor) {
  ScriptedServer server([](ServerConnection& connection) { connection.readBytes(1'000'000); });
  const auto binding = make();
  WebSocketRequest request = requestTo(server.url("ws"));
  EXPECT_EQ(request.timeout, 60s);  // Unless asked otherwise.
  request.timeout = 150ms;
  const auto start = std::chrono::steady_clock::now();
  WebSocketClient client(*binding, request);
  EXPECT_EQ(client.receiveError(), "The connection was not opened in time.");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 150ms);
}

TEST_P(WebSocketContract, GivesUpOpeningThoughHeadersTrickleInForEver) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.readHead();
    connection.write("HTTP/1.1 101 Switching Protocols\r\n");
    while (connection.write("A: b\r\n")) std::this_thread::sleep_for(2ms);
  });
  const auto binding = make();
  WebSocketRequest request = requestTo(server.url("ws"));
  request.timeout = 150ms;
  WebSocketClient client(*binding, request);
  EXPECT_NE(client.receiveError(), "");
}

TEST_P(WebSocketContract, FailsWhenTheConnectionIsResetWithinAFrame) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrameHeader(Opcode::text, 1000);
    connection.write("only the beginning");
    connection.readFrame();
    connection.reset();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws", pathWithCanary())));
  ASSERT_TRUE(client.waitForOpen());
  EXPECT_EQ(client.send("now"), "");
  const std::string error = client.receiveError();
  EXPECT_NE(error, "");
  expectNoSecret(error);
}

TEST_P(WebSocketContract, AnswersEverySendOnceThoughTheConnectionBreaks) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.readBytes(1000);
    connection.reset();
  });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(client.waitForOpen());
  constexpr std::size_t kSends = 50;
  for (std::size_t i = 0; i < kSends; ++i) client.beginSend(std::string(200'000, 'x'));
  EXPECT_NE(client.receiveError(), "");
  ASSERT_TRUE(client.sent.get(kSends - 1).has_value());
  EXPECT_NE(client.send("after"), "");
  EXPECT_EQ(client.sent.count(), kSends + 1);
}

TEST_P(WebSocketContract, TakesAMessageOfExactlyTheLongestSize) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.sendFrame(Opcode::text, std::string(300'000, 'x'));
    connection.waitForEnd();
  });
  const auto binding = make();
  WebSocketRequest request = requestTo(server.url("ws"));
  request.longestMessage = 300'000;
  WebSocketClient client(*binding, request);
  EXPECT_EQ(client.receiveText().size(), 300'000U);
}

TEST_P(WebSocketContract, FailsOnAMessageThatIsTooLongWithoutWaitingForItsEnd) {
  const auto binding = make();
  const std::vector<Script> scripts{
      [](ServerConnection& connection) { connection.sendFrameHeader(Opcode::text, 300'001); },
      [](ServerConnection& connection) { connection.sendFrameHeader(Opcode::binary, 1ULL << 62U); },
      [](ServerConnection& connection) {
        connection.sendFrame(Opcode::text, std::string(200'000, 'x'), false);
        connection.sendFrame(Opcode::continuation, std::string(100'001, 'x'), true);
      }};
  for (const Script& script : scripts) {
    ScriptedServer server([&](ServerConnection& connection) {
      connection.acceptWebSocket();
      script(connection);
      connection.waitForEnd();
    });
    WebSocketRequest request = requestTo(server.url("ws"));
    request.longestMessage = 300'000;
    WebSocketClient client(*binding, request);
    EXPECT_NE(client.receiveError(), "");
    EXPECT_EQ(client.opened.count(), 1U);
  }
}

TEST_P(WebSocketContract, FailsOnFramesThatBreakTheProtocol) {
  const auto binding = make();
  const std::vector<std::string> frames{
      std::string("\x81\x02\xC3\x28", 4),  // No UTF-8.
      std::string("\x80\x01x", 3),         // Goes on with nothing.
      std::string("\xC1\x01x", 3),         // A reserved bit.
      std::string("\x83\x01x", 3),         // A reserved kind.
      std::string("\x89\x7E\x00\x7E", 4),  // A long ping.
      std::string("\x09\x01x", 3),         // A ping in pieces.
      std::string("\x88\x01x", 3),         // Half a close code.
  };
  for (const auto& frame : frames) {
    ScriptedServer server([&](ServerConnection& connection) {
      connection.acceptWebSocket();
      connection.write(frame);
      connection.waitForEnd();
    });
    WebSocketClient client(*binding, requestTo(server.url("ws")));
    EXPECT_NE(client.receiveError(), "") << testing::PrintToString(frame);
  }
}

TEST_P(WebSocketContract, FailsWhenMessagesPileUpUnread) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    const std::string text(10'000, 'x');
    while (connection.sendFrame(Opcode::text, text)) {
    }
  });
  const auto binding = make();
  WebSocketRequest request = requestTo(server.url("ws"));
  request.longestMessage = 10'000;
  WebSocketClient client(*binding, request);
  ASSERT_TRUE(client.waitForOpen());
  // Only the sending of something tells that the connection has ended while nobody reads.
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (client.send("still there?").empty() && std::chrono::steady_clock::now() < end) {
  }
  std::size_t kept = 0;
  while (client.receiveError().empty()) ++kept;
  EXPECT_GT(kept, 0U);
  EXPECT_LE(kept, 64U);
}

TEST_P(WebSocketContract, FindsADeadPeerByItsSilence) {
  ScriptedServer server([](ServerConnection& connection) {
    connection.acceptWebSocket();
    connection.waitForEnd();  // Reads everything and answers nothing, as a peer behind a dead network would not either.
  });
  const auto binding = make({.pingInterval = 40ms, .silenceLimit = 80ms});
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  ASSERT_TRUE(client.waitForOpen());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(client.receiveError(), "The server has fallen silent.");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
}

TEST_P(WebSocketContract, KeepsAQuietConnectionWhosePeerAnswersPings) {
  std::atomic<int> pings{0};
  ScriptedServer server([&](ServerConnection& connection) {
    connection.acceptWebSocket();
    while (const auto frame = connection.readFrame()) {
      if (frame->opcode != Opcode::ping) continue;
      connection.sendFrame(Opcode::pong, frame->payload);
      if (++pings == 8) connection.sendFrame(Opcode::text, "still here");
    }
  });
  const auto binding = make({.pingInterval = 40ms, .silenceLimit = 200ms});
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  EXPECT_EQ(client.receiveText(), "still here");
}

TEST_P(WebSocketContract, SpeaksTlsWithAServerThatIsVouchedFor) {
  const TestAuthority authority;
  ScriptedServer server(echo, authority.issue());
  const auto binding = make({.trustedAuthorities = authority.certificate()});
  WebSocketRequest request = requestTo(server.url("wss"));
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
  const auto binding = make({.trustedAuthorities = authority.certificate()});
  WebSocketClient byName(*binding, requestTo(server.url("wss", "/ws", "localhost")));
  EXPECT_TRUE(byName.waitForOpen());
  WebSocketClient byNumber(*binding, requestTo(server.url("wss")));
  EXPECT_NE(byNumber.receiveError(), "");
}

TEST_P(WebSocketContract, RefusesCertificatesThatNobodyVouchesFor) {
  const TestAuthority authority;
  const auto binding = make({.trustedAuthorities = authority.certificate()});
  for (const auto& bad : badCertificates(authority)) {
    bool wasSpokenTo = false;
    ScriptedServer server([&](ServerConnection& connection) { wasSpokenTo = !connection.readHead().empty(); },
                          bad.identity);
    {
      WebSocketClient client(*binding, requestTo(server.url("wss", pathWithCanary())));
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

TEST_P(WebSocketContract, ManyConnectionsAtOnceStayApart) {
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
    EXPECT_TRUE(std::holds_alternative<platform::TransportError>(*client.received.get(1)));
    EXPECT_EQ(client.opened.count(), 1U);
  }
}

}  // namespace

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(WebSocketContract);

}  // namespace quillard::test
