#include <chrono>
#include <string>

#include "contract/WebSocketScripts.h"

namespace quillard::test {
namespace {

using platform::HttpHeader;
using platform::WebSocketRequest;
using namespace std::chrono_literals;

TEST_P(WebSocketContract, RefusesToSendBeforeItIsOpen) {
  ScriptedServer server([](ServerConnection& connection) { connection.readBytes(1'000'000); });
  const auto binding = make();
  WebSocketClient client(*binding, requestTo(server.url("ws")));
  EXPECT_NE(client.send("early"), "");
}

TEST_P(WebSocketContract, FailsWhenNothingListens) {
  const auto binding = make();
  WebSocketClient client(*binding, requestTo("ws://127.0.0.1:" + std::to_string(deadPort()) + pathWithCanary()));
  const auto end = client.receiveEnd();
  ASSERT_TRUE(end.has_value());
  EXPECT_EQ(end->error.description, "The connection was refused.");
  EXPECT_EQ(end->closeCode, std::nullopt);
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
    const auto end = client.receiveEnd();
    ASSERT_TRUE(end.has_value()) << status;
    const std::string error = end->error.description;
    EXPECT_NE(error.find("HTTP " + status), std::string::npos) << status << ": " << error;
    EXPECT_EQ(end->refusedWithStatus, std::stoi(status));
    EXPECT_EQ(end->closeCode, std::nullopt);
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
    const auto end = client.receiveEnd();
    ASSERT_TRUE(end.has_value()) << answer;
    EXPECT_NE(end->error.description, "") << answer;
    EXPECT_NE(end->refusedWithStatus, 401) << answer;
    EXPECT_NE(end->refusedWithStatus, 410) << answer;
    expectNoSecret(end->error.description);
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

TEST_P(WebSocketContract, GivesUpOpeningWhileHeadersArriveSlowlyWithoutEnd) {
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
      std::string("\x81\x02\xC3\x28", 4),                            // No UTF-8.
      std::string("\x80\x01x", 3),                                   // Goes on with nothing.
      std::string("\xC1\x01x", 3),                                   // A reserved bit.
      std::string("\x83\x01x", 3),                                   // A reserved kind.
      std::string("\x89\x7E\x00\x7E", 4),                            // A long ping.
      std::string("\x09\x01x", 3),                                   // A ping in pieces.
      std::string("\x88\x01x", 3),                                   // Half a close code.
      std::string("\x88\x02\x03\xE7", 4),                            // A close code that none may send.
      std::string("\x88\x03\x03\xE8\xFF", 5),                        // A reason that is no UTF-8.
      std::string("\x8B\x00", 2),                                    // A reserved kind of control frame.
      std::string("\xA1\x01x", 3),                                   // The next reserved bit.
      std::string("\x91\x01x", 3),                                   // And the last.
      std::string("\x01\x01x\x81\x01y", 6),                          // A text within a text.
      std::string("\x81\x7E\x00\x01x", 5),                           // A length in more bytes than it needs.
      std::string("\x81\x7F\x00\x00\x00\x00\x00\x00\x00\x01x", 11),  // In even more.
      std::string("\x81\x7F\xFF\x00\x00\x00\x00\x00\x00\x01x", 11),  // A length that nothing has.
      std::string("\x01\x01\xC3\x80\x01(", 6),                       // No UTF-8, in pieces.
      std::string("\x81\x81\x01\x02\x03\x04y", 7),                   // A mask, which only clients have.
      std::string("\x89\x80\x01\x02\x03\x04", 6),                    // On a ping, too.
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
  // Without a receive under way, only a failed send shows that the connection has ended.
  const auto end = std::chrono::steady_clock::now() + kTimeout;
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

}  // namespace
}  // namespace quillard::test
