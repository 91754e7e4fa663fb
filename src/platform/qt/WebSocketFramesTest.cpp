#include <vector>

#include <gtest/gtest.h>

#include "platform/qt/WebSocketFrames.h"

namespace quillard::qt {
namespace {

// What came, one after another, in a form that can be read: "text a", "close 1000".
std::vector<std::string> eventsOf(WebSocketFrameReader& reader) {
  std::vector<std::string> events;
  while (const auto event = reader.next()) {
    if (const auto* text = std::get_if<TextReceived>(&*event)) events.push_back("text " + text->text);
    if (const auto* binary = std::get_if<BinaryReceived>(&*event)) events.push_back("binary " + binary->bytes);
    if (const auto* ping = std::get_if<PingReceived>(&*event)) events.push_back("ping " + ping->payload);
    if (std::holds_alternative<PongReceived>(*event)) events.emplace_back("pong");
    if (const auto* close = std::get_if<CloseReceived>(&*event))
      events.push_back("close " + std::to_string(close->code));
    if (const auto* broken = std::get_if<ProtocolBroken>(&*event)) {
      events.push_back("broken " + std::to_string(broken->code));
    }
  }
  return events;
}

using Events = std::vector<std::string>;

Events read(const std::string& bytes, std::size_t longest = 1000) {
  WebSocketFrameReader reader(longest);
  reader.add(bytes);
  return eventsOf(reader);
}

template <std::size_t N>
std::string raw(const char (&bytes)[N]) {
  return {bytes, N - 1};
}

TEST(WebSocketFrameReader, ReadsWhateverAServerMaySend) {
  EXPECT_EQ(read(raw("\x81\x02hi\x81\x00")), (Events{"text hi", "text "}));
  EXPECT_EQ(read(raw("\x82\x02\xFF\xFE")), (Events{"binary \xFF\xFE"}));
  EXPECT_EQ(read(raw("\x89\x01p\x8A\x00")), (Events{"ping p", "pong"}));
  EXPECT_EQ(read(raw("\x01\x01"
                     "a\x89\x00\x00\x00\x80\x01z")),
            (Events{"ping ", "text az"}));
  EXPECT_EQ(read(raw("\x88\x00\x81\x01x")), (Events{"close 1005"}));
  EXPECT_EQ(read(raw("\x88\x05\x0F\xA1why")), (Events{"close 4001"}));
  EXPECT_EQ(read(raw("\x81\x7E\x00\x7E") + std::string(126, 'x')), (Events{"text " + std::string(126, 'x')}));
  const std::string large(65536, 'x');
  EXPECT_EQ(read(raw("\x81\x7F\x00\x00\x00\x00\x00\x01\x00\x00") + large, large.size()), (Events{"text " + large}));
}

TEST(WebSocketFrameReader, JoinsTextsThatWereCutInsideOfCharacters) {
  EXPECT_EQ(read(raw("\x01\x02"
                     "a\xC3\x00\x02\xA4\xF0\x00\x00\x80\x03\x9F\x98\x80")),
            (Events{"text a\xC3\xA4\xF0\x9F\x98\x80"}));
}

TEST(WebSocketFrameReader, ReadsTheSameHoweverTheBytesArrive) {
  const std::string bytes = raw("\x01\x01"
                                "a\x89\x01p\x80\x01"
                                "b\x81\x7E\x00\x7E") +
                            std::string(126, 'x') + raw("\x82\x00\x88\x02\x03\xE8");
  const auto whole = read(bytes);
  ASSERT_EQ(whole.size(), 5U);
  for (std::size_t size = 1; size < bytes.size(); ++size) {
    WebSocketFrameReader reader(1000);
    Events events;
    for (std::size_t at = 0; at < bytes.size(); at += size) {
      reader.add(std::string_view(bytes).substr(at, size));
      for (auto& event : eventsOf(reader)) events.push_back(std::move(event));
    }
    EXPECT_EQ(events, whole) << size;
  }
}

TEST(WebSocketFrameReader, TakesEveryCloseCodeThatMayBeSent) {
  for (const int code :
       {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 1012, 1013, 1014, 3000, 3999, 4000, 4001, 4999}) {
    const std::string payload{static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
    EXPECT_EQ(read(raw("\x88\x02") + payload), (Events{"close " + std::to_string(code)}));
  }
}

// A continuation has nothing to go on with once its message has ended.
TEST(WebSocketFrameReader, GoesOnWithNoMessageThatHasEnded) {
  EXPECT_EQ(read(raw("\x81\x01"
                     "a\x80\x01"
                     "b")),
            (Events{"text a", "broken 1002"}));
}

TEST(WebSocketFrameReader, BreaksOffAtWhatNoServerMaySend) {
  const std::vector<std::pair<std::string, int>> table{
      {raw("\x81\x81\x01\x02\x03\x04y"), 1002},         // A mask.
      {raw("\x82\x80\x00\x00\x00\x00"), 1002},          // One of zeroes.
      {raw("\x89\x80\x01\x02\x03\x04"), 1002},          // On a ping.
      {raw("\x88\x82\x01\x02\x03\x04\x02\xEA"), 1002},  // On a close frame.
      {raw("\xC1\x00"), 1002},                          // Reserved bits.
      {raw("\xA1\x00"), 1002},
      {raw("\xC9\x00"), 1002},
      {raw("\xD8\x00"), 1002},
      {raw("\x01\x00\xC0\x00"), 1002},
      {raw("\x91\x00"), 1002},
      {raw("\x83\x00"), 1002},  // Reserved kinds.
      {raw("\x87\x00"), 1002},
      {raw("\x8B\x00"), 1002},
      {raw("\x8F\x00"), 1002},
      {raw("\x80\x00"), 1002},            // Goes on with nothing.
      {raw("\x01\x01x\x81\x01y"), 1002},  // A message within a message.
      {raw("\x09\x00"), 1002},            // Control frames in pieces,
      {raw("\x08\x00"), 1002},
      {raw("\x0A\x00"), 1002},
      {raw("\x89\x7E\x00\x7E"), 1002},  // and long ones.
      {raw("\x8A\x7E\x00\x7E"), 1002},
      {raw("\x88\x7E\x00\x7E"), 1002},
      {raw("\x8A\x7F\x00\x00\x00\x00\x00\x01\x00\x00"), 1002},
      {raw("\x89\x7E\x00\x01x"), 1002},
      {raw("\x81\x7E\x00\x7D"), 1002},  // Lengths in too many bytes.
      {raw("\x81\x7F\x00\x00\x00\x00\x00\x00\xFF\xFF"), 1002},
      {raw("\x81\x7F\x80\x00\x00\x00\x00\x00\x00\x00"), 1002},  // The highest bit.
      {raw("\x88\x01x"), 1002},                                 // Half a close code.
      {raw("\x88\x02\x00\x00"), 1002},                          // 0
      {raw("\x88\x02\x03\xE7"), 1002},                          // 999
      {raw("\x88\x02\x03\xEC"), 1002},                          // 1004
      {raw("\x88\x02\x03\xED"), 1002},                          // 1005
      {raw("\x88\x02\x03\xEE"), 1002},                          // 1006
      {raw("\x88\x02\x03\xF7"), 1002},                          // 1015
      {raw("\x88\x02\x03\xF8"), 1002},                          // 1016
      {raw("\x88\x02\x0B\xB7"), 1002},                          // 2999
      {raw("\x88\x02\x13\x88"), 1002},                          // 5000
      {raw("\x88\x03\x03\xE8\xFF"), 1007},                      // A reason that is no UTF-8.
      {raw("\x81\x01\xFF"), 1007},                              // Texts that are none.
      {raw("\x81\x02\xC0\xAF"), 1007},                          // Longer than it has to be.
      {raw("\x81\x04\xF4\x90\x80\x80"), 1007},                  // Beyond the last character.
      {raw("\x81\x01\xC3"), 1007},                              // Ends within a character.
      {raw("\x01\x01\xC3\x80\x01("), 1007},
      {raw("\x81\x03\xED\xA0\x80"), 1007},  // Half of a surrogate pair.
      {raw("\x81\x7E\x03\xE9"), 1009},      // 1001 bytes.
      {raw("\x82\x7F\x40\x00\x00\x00\x00\x00\x00\x00"), 1009},
  };
  for (const auto& [bytes, code] : table) {
    EXPECT_EQ(read(bytes + raw("\x81\x01z")), (Events{"broken " + std::to_string(code)}))
        << testing::PrintToString(bytes);
  }
  // Together they are too long, though none of them is.
  EXPECT_EQ(read(raw("\x01\x64") + std::string(100, 'x') + raw("\x80\x01y"), 100), (Events{"broken 1009"}));
  EXPECT_EQ(read(raw("\x01\x63") + std::string(99, 'x') + raw("\x80\x01y"), 100).size(), 1U);
}

TEST(WebSocketFrameReader, KeepsNothingOfWhatIsTooLong) {
  WebSocketFrameReader reader(10);
  reader.add(raw("\x81\x7F\x00\x00\x00\x00\x7F\xFF\xFF\xFF"));
  EXPECT_EQ(eventsOf(reader), (Events{"broken 1009"}));
  reader.add(std::string(1000, 'x'));
  EXPECT_TRUE(eventsOf(reader).empty());
}

// As in the examples of section 5.7.
TEST(ClientFrame, IsMasked) {
  EXPECT_EQ(clientFrame(ClientOpcode::text, "Hello", {0x37, 0xFA, 0x21, 0x3D}),
            raw("\x81\x85\x37\xFA\x21\x3D\x7F\x9F\x4D\x51\x58"));
  EXPECT_EQ(clientFrame(ClientOpcode::close, closePayload(1001), {0, 0, 0, 0}), raw("\x88\x82\0\0\0\0\x03\xE9"));
  EXPECT_EQ(clientFrame(ClientOpcode::text, std::string(125, 'x'), {}).substr(0, 2), raw("\x81\xFD"));
  EXPECT_EQ(clientFrame(ClientOpcode::text, std::string(126, 'x'), {}).substr(0, 4), raw("\x81\xFE\x00\x7E"));
  EXPECT_EQ(clientFrame(ClientOpcode::text, std::string(65535, 'x'), {}).substr(0, 4), raw("\x81\xFE\xFF\xFF"));
  EXPECT_EQ(clientFrame(ClientOpcode::text, std::string(65536, 'x'), {}).substr(0, 10),
            raw("\x81\xFF\x00\x00\x00\x00\x00\x01\x00\x00"));
}

}  // namespace
}  // namespace quillard::qt
