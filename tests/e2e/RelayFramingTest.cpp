#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "e2e/RelayServerFixture.h"

// The WebSocket protocol, RFC 6455, as the real relay keeps it: what a server must do, and what it must not take.
// Frames are written byte by byte.
namespace quillard::test {
namespace {

using relayserver::request;

using RelayFraming = RelayServer;

constexpr std::string_view kMask("\x01\x02\x03\x04", 4);

std::string bytesOf(std::uint64_t number, int count) {
  std::string bytes;
  for (int i = count - 1; i >= 0; --i) bytes += static_cast<char>(number >> (8U * static_cast<unsigned>(i)) & 0xFFU);
  return bytes;
}

std::string masked(std::string payload) {
  for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(payload[i] ^ kMask[i % 4]);
  return payload;
}

// A frame as short as it can be written. `first`: FIN, reserved bits and opcode.
std::string frame(int first, const std::string& payload) {
  const std::string length = payload.size() < 126       ? bytesOf(0x80U | payload.size(), 1)
                             : payload.size() <= 0xFFFF ? bytesOf(0xFE, 1) + bytesOf(payload.size(), 2)
                                                        : bytesOf(0xFF, 1) + bytesOf(payload.size(), 8);
  return static_cast<char>(first) + length + std::string(kMask) + masked(payload);
}

constexpr int kFin = 0x80;
constexpr int kText = 1;
constexpr int kClose = 8;
constexpr int kPing = 9;
constexpr int kPong = 10;

std::string closeFrame(int code, const std::string& reason = "") {
  return frame(kFin | kClose, bytesOf(static_cast<std::uint64_t>(code), 2) + reason);
}

// ---- The handshake, section 4.2

TEST_F(RelayFraming, TakesTheHandshakeOfTheStandardOnly) {
  start();
  const std::string good = "GET /ws?" + agentQuery() + " HTTP/1.1\r\nHost: relay\r\n";
  const std::string token = "Authorization: Bearer " + kToken + "\r\n";
  const std::string upgrade = "Upgrade: websocket\r\n";
  const std::string connection = "Connection: Upgrade\r\n";
  const std::string key = "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
  const std::string version = "Sec-WebSocket-Version: 13\r\n";
  const auto answer = [&](const std::string& head) {
    const auto client = wire();
    client->write(head + "\r\n");
    return client->readReply();
  };
  const auto reply = answer(good + token + upgrade + connection + key + version);
  EXPECT_EQ(reply.status, 101);
  EXPECT_EQ(reply.headers.at("sec-websocket-accept"), "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=");
  EXPECT_EQ(reply.headers.at("upgrade"), "websocket");
  EXPECT_THAT(reply.headers.at("connection"), testing::StrCaseEq("upgrade"));
  EXPECT_EQ(reply.headers.count("sec-websocket-extensions"), 0U);
  EXPECT_EQ(reply.headers.count("sec-websocket-protocol"), 0U);
  const auto compressed =
      answer(good + token + upgrade + connection + key + version + "Sec-WebSocket-Extensions: permessage-deflate\r\n");
  EXPECT_EQ(compressed.status, 101);
  EXPECT_EQ(compressed.headers.count("sec-websocket-extensions"), 0U);
  EXPECT_EQ(answer(good + token + "uPGRADE: WebSocket\r\ncONNECTION: keep-alive, upgrade\r\n" + key + version).status,
            101);

  const std::vector<std::pair<std::string, int>> table{
      {good + token + connection + key + version, 426},
      {good + token + upgrade + key + version, 426},
      {good + token + "Upgrade: websockets\r\n" + connection + key + version, 426},
      {good + token + upgrade + connection + version, 400},
      {good + token + upgrade + connection + key + key + version, 400},
      {good + token + upgrade + connection + "Sec-WebSocket-Key: short\r\n" + version, 400},
      {good + token + upgrade + connection + "Sec-WebSocket-Key: \r\n" + version, 400},
      {good + token + upgrade + connection + "Sec-WebSocket-Key: !GhlIHNhbXBsZSBub25jZQ==\r\n" + version, 400},
      {good + token + upgrade + connection + "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQAA\r\n" + version, 400},
      {good + token + upgrade + connection + key, 426},
      {good + token + upgrade + connection + key + "Sec-WebSocket-Version: 12\r\n", 426},
      {good + token + upgrade + connection + key + "Sec-WebSocket-Version: 13, 8\r\n", 426},
      {good + token + upgrade + connection + key + version + version, 426},
      {good + "Host: other\r\n" + token + upgrade + connection + key + version, 400},
      {good + token + upgrade + connection + key + "Sec-WebSocket-Version: +13\r\n", 426},
      {"POST /ws?" + agentQuery() + " HTTP/1.1\r\nHost: relay\r\n" + token + upgrade + connection + key + version, 405},
      {"GET /ws?" + agentQuery() + " HTTP/1.0\r\nHost: relay\r\n" + token + upgrade + connection + key + version, 426},
      {"GET /ws?" + agentQuery() + " HTTP/1.1\r\n" + token + upgrade + connection + key + version, 400},
  };
  for (const auto& [head, status] : table) EXPECT_EQ(answer(head).status, status) << head;
  EXPECT_EQ(answer(good + token + upgrade + connection + key).headers.at("sec-websocket-version"), "13");
}

// ---- Frames, sections 5 and 7

struct Breach {
  const char* about;
  std::string bytes;
  int closeCode;
};

TEST_F(RelayFraming, ClosesWhatBreaksTheProtocol) {
  start();
  const std::vector<Breach> table{
      {"a frame that is not masked", std::string("\x81\x01x", 3), 1002},
      {"a ping that is not masked", std::string("\x89\x00", 2), 1002},
      {"a close message that is not masked", std::string("\x88\x00", 2), 1002},
      {"a continuation that is not masked", frame(kText, "{") + std::string("\x80\x01}", 3), 1002},
      {"reserved bit 1", frame(kFin | 0x40 | kText, "{}"), 1002},
      {"reserved bit 2", frame(kFin | 0x20 | kText, "{}"), 1002},
      {"reserved bit 3", frame(kFin | 0x10 | kText, "{}"), 1002},
      {"a reserved bit on a ping", frame(kFin | 0x40 | kPing, ""), 1002},
      {"a reserved bit on a continuation", frame(kText, "{") + frame(kFin | 0x40, "}"), 1002},
      {"opcode 3", frame(kFin | 0x3, ""), 1002},
      {"opcode 7", frame(kFin | 0x7, ""), 1002},
      {"opcode 11", frame(kFin | 0xB, ""), 1002},
      {"opcode 15", frame(kFin | 0xF, ""), 1002},
      {"a ping in pieces", frame(kPing, "x"), 1002},
      {"a close message in pieces", frame(kClose, "\x03\xE8"), 1002},
      {"a ping of 126 bytes", frame(kFin | kPing, std::string(126, 'x')), 1002},
      {"a pong of 126 bytes", frame(kFin | kPong, std::string(126, 'x')), 1002},
      {"a close message of 126 bytes", frame(kFin | kClose, "\x03\xE8" + std::string(124, 'x')), 1002},
      {"a pong in pieces", frame(kPong, "x"), 1002},
      {"a continuation of what has ended", frame(kFin | kText, request("d0").dump()) + frame(kFin, "x"), 1002},
      {"a continuation of nothing", frame(kFin, "x"), 1002},
      {"a text within a text", frame(kText, "{") + frame(kFin | kText, "}"), 1002},
      {"a length in three bytes that one would hold", "\x81\xFE" + bytesOf(2, 2) + std::string(kMask) + masked("{}"),
       1002},
      {"a length in nine bytes that three would hold",
       "\x81\xFF" + bytesOf(200, 8) + std::string(kMask) + masked(std::string(200, ' ')), 1002},
      {"a length whose highest bit is set", "\x81\xFF\x80" + bytesOf(2, 7) + std::string(kMask), 1009},
      {"a length in nine bytes on a ping", "\x89\xFF" + bytesOf(1, 8) + std::string(kMask) + masked("x"), 1002},
      {"text that is no UTF-8", frame(kFin | kText, "\"\xC3(\""), 1007},
      {"text that ends within a character", frame(kFin | kText, "\"\xC3"), 1007},
      {"an overlong character", frame(kFin | kText, "\"\xC0\xAF\""), 1007},
      {"a character beyond all", frame(kFin | kText, "\"\xF4\x90\x80\x80\""), 1007},
      {"a surrogate in UTF-8", frame(kFin | kText, "\"\xED\xA0\x80\""), 1007},
      {"text in pieces that is no UTF-8", frame(kText, "\"\xC3") + frame(kFin, "(\""), 1007},
      {"a close message of one byte", frame(kFin | kClose, "\x03"), 1002},
      {"close code 0", closeFrame(0), 1002},
      {"close code 999", closeFrame(999), 1002},
      {"close code 1004", closeFrame(1004), 1002},
      {"close code 1005", closeFrame(1005), 1002},
      {"close code 1006", closeFrame(1006), 1002},
      {"close code 1015", closeFrame(1015), 1002},
      {"close code 1016", closeFrame(1016), 1002},
      {"close code 2999", closeFrame(2999), 1002},
      {"a reason that is no UTF-8", closeFrame(1000, "\xFF"), 1002},
  };
  for (const auto& [about, bytes, closeCode] : table) {
    const auto client = join(phoneQuery("A"));
    client->write(bytes);
    EXPECT_EQ(client->readClose(), closeCode) << about;
    EXPECT_FALSE(client->readFrame()) << about;
  }
}

TEST_F(RelayFraming, AnswersACloseMessageWithItsCodeAndEnds) {
  start();
  for (const int code : {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 1012, 1013, 3000, 3999, 4000, 4999}) {
    const auto client = join(phoneQuery("A"));
    client->write(closeFrame(code, "because"));
    EXPECT_EQ(client->readClose(), code);
    EXPECT_FALSE(client->readFrame());
  }
  const auto client = join(phoneQuery("A"));
  client->write(frame(kFin | kClose, ""));
  const int code = client->readClose();
  EXPECT_TRUE(code == 1000 || code == 1005) << code;
  EXPECT_FALSE(client->readFrame());
}

TEST_F(RelayFraming, TakesNothingAfterACloseMessage) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  phone->write(closeFrame(1000) + frame(kFin | kText, request("late").dump()) + frame(kFin | kPing, "late"));
  EXPECT_EQ(phone->readClose(), 1000);
  EXPECT_FALSE(phone->readFrame());
  const auto next = join(phoneQuery("B"));
  next->say(request("next"));
  EXPECT_EQ(agent->read("approval.request")["decisionID"], "next");
}

TEST_F(RelayFraming, JoinsAMessageHoweverItIsCut) {
  start();
  const auto agent = join(agentQuery());
  const auto phone = join(phoneQuery("A"));
  auto message = request("d0");
  message["new"] = "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
  const auto text = message.dump();
  // Also inside of characters, with pings and empty pieces in between.
  std::string bytes = frame(kText, "");
  for (const char c : text) bytes += frame(0, std::string(1, c));
  phone->write(bytes + frame(kFin | kPing, "between") + frame(0, "") + frame(kFin, ""));
  EXPECT_EQ(agent->read("approval.request"), request("d0"));
}

TEST_F(RelayFraming, AnswersPingsWithWhatTheyHoldAndIgnoresPongs) {
  start();
  const auto client = wire();
  ASSERT_EQ(client->upgrade(agentQuery(), kBearer).status, 101);
  EXPECT_TRUE(client->readFrame());  // phone.status
  client->answersPings = false;
  for (const std::string& payload : {std::string(), std::string("ping"), std::string(125, '\xFF')}) {
    client->write(frame(kFin | kPong, "nobody asked") + frame(kFin | kPing, payload));
    const std::string pong = static_cast<char>(kFin | kPong) + bytesOf(payload.size(), 1) + payload;
    EXPECT_EQ(client->readRaw(pong.size()), pong);
  }
}

TEST_F(RelayFraming, SendsFramesThatAreWholeAndNotMasked) {
  start();
  const auto client = wire();
  ASSERT_EQ(client->upgrade(agentQuery(), kBearer).status, 101);
  const auto head = client->readRaw(2);
  ASSERT_EQ(head.size(), 2U);
  EXPECT_EQ(static_cast<unsigned char>(head[0]), kFin | kText);
  EXPECT_LT(static_cast<unsigned char>(head[1]), 0x80);
}

// Whatever their length: it stands in as few bytes as it fits into.
TEST_F(RelayFraming, SendsLengthsInAsFewBytesAsCanBe) {
  start();
  const auto agent = join(agentQuery());
  const auto watching = join(phoneQuery("B"));
  for (const std::size_t size : {std::size_t{1000}, std::size_t{70'000}}) {
    auto message = relayserver::snapshot("s" + std::to_string(size));
    message["encryptedApprovals"]["ciphertext"] = std::string(size / 4 * 4, 'A');
    ASSERT_TRUE(agent->say(message));
    (void)watching->read("mac.snapshot");
    const auto phone = wire();
    ASSERT_EQ(phone->upgrade(phoneQuery("A"), kBearer).status, 101);
    ASSERT_TRUE(phone->readFrame());  // mac.status
    const auto head = phone->readRaw(10);
    ASSERT_EQ(head.size(), 10U);
    const auto byte = [&](std::size_t at) { return static_cast<std::uint64_t>(static_cast<unsigned char>(head[at])); };
    EXPECT_EQ(byte(0), static_cast<std::uint64_t>(kFin | kText));
    EXPECT_EQ(byte(1), size < 0x10000 ? 126U : 127U);
    std::uint64_t length = 0;
    for (std::size_t i = 2; i < (size < 0x10000 ? 4U : 10U); ++i) length = length << 8U | byte(i);
    EXPECT_GT(length, size);
  }
}

}  // namespace
}  // namespace quillard::test
