#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/sway/SwayMessages.h"

namespace quillard::sway {
namespace {

std::string header(std::uint32_t length, std::uint32_t type, const std::string& magic = "i3-ipc") {
  std::string bytes = magic;
  for (const auto number : {length, type}) bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
  return bytes;
}

TEST(SwayMessages, AreATextALengthATypeAndTheirPayload) {
  EXPECT_EQ(encoded(MessageType::subscribe, R"(["window"])"), header(10, 2) + R"(["window"])");
  EXPECT_EQ(encoded(MessageType::getTree, ""), header(0, 4));
}

TEST(SwayMessages, ComeOutWholeHoweverTheirBytesComeIn) {
  const auto bytes = header(2, 4) + "{}" + header(0, 0x80000003) + header(3, 0) + "[1]";
  for (std::size_t step = 1; step <= bytes.size(); ++step) {
    MessageStream stream;
    std::vector<Message> messages;
    for (std::size_t at = 0; at < bytes.size(); at += step) {
      stream.add(std::string_view{bytes}.substr(at, step));
      while (auto message = stream.next()) messages.push_back(*message);
    }
    EXPECT_EQ(messages, (std::vector<Message>{{4, "{}"}, {0x80000003, ""}, {0, "[1]"}})) << step;
    EXPECT_FALSE(stream.isBroken());
  }
}

TEST(SwayMessages, WhatIsNoMessageBreaksTheStreamForGood) {
  const auto tooLong = static_cast<std::uint32_t>(kLongestPayload + 1);
  for (const auto& bytes : {header(0, 4, "i3-ipd"), header(tooLong, 4), header(0xFFFFFFFF, 4), std::string(14, '\0')}) {
    MessageStream stream;
    stream.add(bytes);
    EXPECT_EQ(stream.next(), std::nullopt);
    EXPECT_TRUE(stream.isBroken());
    stream.add(header(0, 4));
    EXPECT_EQ(stream.next(), std::nullopt);
  }
}

TEST(SwayMessages, AHeaderThatIsNotWholeIsWaitedFor) {
  MessageStream stream;
  stream.add(header(2, 4).substr(0, 13));
  EXPECT_EQ(stream.next(), std::nullopt);
  EXPECT_FALSE(stream.isBroken());
}

}  // namespace
}  // namespace quillard::sway
