#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "companion/relay/rules/RoomMessages.h"
#include "foundation/StrictJson.h"

// What phones and agents say about waking phones, read member by member.
namespace quillard::relayserver {
namespace {

constexpr std::size_t kRoom = 64 * 1024;

Json subscribing() {
  return {{"type", "push.subscribe"},
          {"endpoint", "https://push.example/a"},
          {"key", "BN4G"},
          {"encryptedSubscription", {{"version", 1}, {"nonce", "AAAA"}, {"ciphertext", "AAAA"}}}};
}

Json sending() {
  return {{"type", "push.send"},
          {"pushID", "p-1"},
          {"deviceID", "A"},
          {"subscriptionID", std::string(32, 'a')},
          {"body", std::string(136, 'A') + "AA=="},
          {"ttl", 300},
          {"urgency", "high"},
          {"topic", "abc"}};
}

bool isSubscribing(const Json& json) {
  return std::holds_alternative<PushSubscribeMessage>(readPhoneMessage(json.dump(), kRoom));
}

bool isSending(const Json& json) {
  return std::holds_alternative<PushSendMessage>(readAgentMessage(json.dump(), kRoom));
}

template <class Reads>
void expectRefused(const Json& good, const std::vector<std::pair<std::string, Json>>& table, Reads reads) {
  ASSERT_TRUE(reads(good)) << good.dump();
  for (const auto& [name, value] : table) {
    auto message = good;
    message[name] = value;
    EXPECT_FALSE(reads(message)) << message.dump();
  }
}

TEST(PushMessages, OfAPhoneAreRefusedWhereAMemberBreaksItsRules) {
  const auto boxOf = [](const std::string& ciphertext) {
    return Json{{"version", 1}, {"nonce", "AAAA"}, {"ciphertext", ciphertext}};
  };
  expectRefused(subscribing(),
                {{"endpoint", nullptr},
                 {"endpoint", ""},
                 {"endpoint", 1},
                 {"endpoint", "https://push.example/a b"},
                 {"endpoint", "https://push.example/\r\nX: y"},
                 {"endpoint", "https://push.example/\u00e4"},
                 {"endpoint", "https://push.example/" + std::string(2048, 'a')},
                 {"key", nullptr},
                 {"key", ""},
                 {"key", Json::array()},
                 {"key", std::string(129, 'B')},
                 {"key", "B N"},
                 {"encryptedSubscription", nullptr},
                 {"encryptedSubscription", "AAAA"},
                 {"encryptedSubscription", {{"version", 1}, {"nonce", "AAAA"}}},
                 {"encryptedSubscription", boxOf("A A")},
                 {"encryptedSubscription", boxOf(std::string(2048, 'A'))}},
                isSubscribing);
}

TEST(PushMessages, OfAnAgentAreRefusedWhereAMemberBreaksItsRules) {
  expectRefused(sending(),
                {{"pushID", nullptr},
                 {"pushID", ""},
                 {"pushID", "two words"},
                 {"pushID", std::string(65, 'a')},
                 {"deviceID", nullptr},
                 {"deviceID", "A\n"},
                 {"subscriptionID", nullptr},
                 {"subscriptionID", std::string(31, 'a')},
                 {"subscriptionID", std::string(32, 'A')},
                 {"body", nullptr},
                 {"body", ""},
                 {"body", std::string(136, 'A')},            // 102 bytes.
                 {"body", std::string(5461, 'A') + "AAA"},   // 4,098 bytes.
                 {"body", std::string(136, 'A') + "AB=="},   // Bits beyond the last byte.
                 {"body", std::string(136, 'A') + "AA"},     // No padding.
                 {"body", std::string(135, 'A') + "-AA=="},  // The other alphabet.
                 {"body", std::string(136, 'A') + "AA==\r\nX: y"},
                 {"ttl", nullptr},
                 {"ttl", -1},
                 {"ttl", 1.5},
                 {"ttl", "300"},
                 {"ttl", 86'401},
                 {"urgency", nullptr},
                 {"urgency", ""},
                 {"urgency", "High"},
                 {"urgency", "high\r\nX: y"},
                 {"topic", ""},
                 {"topic", 7},
                 {"topic", "a b"},
                 {"topic", "a\r\nX: y"},
                 {"topic", std::string(33, 'a')}},
                isSending);
  auto plain = sending();
  plain.erase("topic");
  EXPECT_TRUE(isSending(plain)) << "A push needs no topic.";
  plain["body"] = std::string(5460, 'A') + "AA==";  // 4,096 bytes.
  EXPECT_TRUE(isSending(plain));
}

}  // namespace
}  // namespace quillard::relayserver
