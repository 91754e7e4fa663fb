#include <gtest/gtest.h>

#include "companion/relay/rules/RelayWorld.h"
#include "companion/relay/rules/RoomMessages.h"
#include "support/JsonConformance.h"

// What the relay takes for a message, and what it passes on.
namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongest = 1024 * 1024;

bool isMessage(const std::string& text) {
  return !std::holds_alternative<MalformedMessage>(readAgentMessage(text, kLongest));
}

std::string clockWith(const std::string& value) {
  return R"({"type":"mac.clock","x":)" + value + R"(,"encryptedClock":)" + sealed().dump() + "}";
}

TEST(RoomMessages, KeepEveryRuleOfJsonInMembersThatTheyIgnore) {
  const auto cases = test::jsonConformance(QUILLARD_GOLDEN_DIRECTORY);
  ASSERT_GT(cases.size(), 150U);
  for (const auto& one : cases) {
    EXPECT_EQ(isMessage(clockWith(one.text)), one.isJson) << one.about << ": " << testing::PrintToString(one.text);
  }
}

TEST(RoomMessages, TakeNothingForTheEndButTheEnd) {
  using namespace std::string_literals;
  const std::string good = clock().dump();
  EXPECT_TRUE(isMessage(good));
  EXPECT_TRUE(isMessage(" \n" + good + "\t "));
  for (const std::string& rubbish : {"\0"s, "\0rubbish"s, "{}"s, ","s, "}"s, "x"s, "\xEF\xBB\xBF"s}) {
    EXPECT_FALSE(isMessage(good + rubbish)) << testing::PrintToString(rubbish);
    EXPECT_FALSE(isMessage(rubbish + good)) << testing::PrintToString(rubbish);
  }
  for (std::size_t i = 0; i < good.size(); ++i) EXPECT_FALSE(isMessage(good.substr(0, i))) << i;
}

TEST(RoomMessages, UndoEscapesInWhatTheyKnow) {
  const auto read = readAgentMessage(
      R"({"t\u0079pe":"mac\u002eclock","encryptedClock":{"version":1.0,"nonce":"A\/+=","ciphertext":"A\/B\u002B"}})",
      kLongest);
  ASSERT_TRUE(std::holds_alternative<ClockMessage>(read));
  EXPECT_EQ(std::get<ClockMessage>(read).text,
            R"({"type":"mac.clock","encryptedClock":{"version":1,"nonce":"A/+=","ciphertext":"A/B+"}})");
}

TEST(RoomMessages, KnowHowMuchOfAMessageIsSealed) {
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(5000, 'A');
  const auto read = readAgentMessage(message.dump(), kLongest);
  EXPECT_EQ(std::get<SnapshotMessage>(read).sealedBytes, 5000U + 16);  // Ciphertext and nonce.
}

TEST(RoomMessages, HoldSoManyValuesAndNoMore) {
  const auto listOf = [](std::size_t count) {
    std::string list = "[0";
    for (std::size_t i = 1; i < count; ++i) list += ",0";
    return list + "]";
  };
  // Beside the zeroes: the message, its type, the list, the payload with its three members.
  EXPECT_TRUE(isMessage(clockWith(listOf(kMostValuesOfAMessage - 7))));
  EXPECT_FALSE(isMessage(clockWith(listOf(kMostValuesOfAMessage - 6))));
  EXPECT_TRUE(isMessage(clockWith(std::string(7, '[') + std::string(7, ']'))));
  EXPECT_FALSE(isMessage(clockWith(std::string(8, '[') + std::string(8, ']'))));
}

// Each member that is missing, null, of another kind or against its rules makes the message none.
TEST(RoomMessages, RefuseWhatBreaksTheRulesOfAMember) {
  const std::vector<std::pair<std::string, Json>> table{
      {"observedAt", "2026-03-01"},
      {"observedAt", 1},
      {"accessibilityTrusted", "true"},
      {"accessibilityTrusted", 1},
      {"encryptedApprovals", "AAAA"},
      {"encryptedApprovals", Json::array()},
      {"encryptedApprovals", {{"version", 1}, {"nonce", "AAAA"}}},
      {"encryptedApprovals", {{"version", 1}, {"nonce", "A A"}, {"ciphertext", "AAAA"}}},
      {"encryptedApprovals", {{"version", 1}, {"nonce", std::string(65, 'A')}, {"ciphertext", "AAAA"}}},
      {"encryptedApprovals", {{"version", 1}, {"nonce", "AAAA"}, {"ciphertext", "A\u00e4"}}},
      {"encryptedApprovals", {{"version", -1}, {"nonce", "AAAA"}, {"ciphertext", "AAAA"}}},
      {"encryptedApprovals", {{"version", 1.5}, {"nonce", "AAAA"}, {"ciphertext", "AAAA"}}},
      {"encryptedApprovals", {{"version", 4294967296}, {"nonce", "AAAA"}, {"ciphertext", "AAAA"}}},
      {"approvalCount", -1},
      {"approvalCount", 1'000'001},
      {"approvalCount", "1"},
      {"snapshotID", " "},
      {"snapshotID", std::string(129, 'a')},
      {"snapshotID", 7},
  };
  for (const auto& [name, value] : table) {
    auto message = snapshot();
    message[name] = value;
    EXPECT_FALSE(isMessage(message.dump())) << message.dump();
  }
  const auto whole = snapshot();
  for (const auto& [name, value] : whole.items()) {
    auto message = snapshot();
    message[name] = nullptr;
    EXPECT_FALSE(isMessage(message.dump())) << name;
    message.erase(name);
    EXPECT_FALSE(isMessage(message.dump())) << name;
  }
}

}  // namespace
}  // namespace quillard::relayserver
