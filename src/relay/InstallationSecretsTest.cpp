#include <string>

#include <gtest/gtest.h>

#include "relay/InstallationSecrets.h"

namespace quillard {
namespace {

InstallationSecrets secrets(std::string_view pairingID, std::string_view token, std::string_view e2eSecret) {
  return {std::string(pairingID), Secret{token}, Secret{e2eSecret}};
}

std::optional<InstallationSecrets> read(std::string_view text) {
  return readInstallationSecrets({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(InstallationSecrets, AreStoredInTheOrderOfTheirFields) {
  EXPECT_EQ(installationSecretsText(secrets("quillard-1", "aa", "bb"))->text(),
            R"({"pairingID":"quillard-1","relayAuthToken":"aa","e2eSecret":"bb"})");
}

TEST(InstallationSecrets, ReadWhatTheyWrite) {
  const auto original = secrets("old \"id\"/\xC3\xA4", "a\\b", "c\nd");
  EXPECT_EQ(read(installationSecretsText(original)->text()), original);
}

TEST(InstallationSecrets, AreUsableWhenNoneIsBlank) {
  EXPECT_TRUE(secrets("id", "a", "b").isUsable());
  for (const auto* blank : {"", " ", "\n\t", "\xC2\xA0"}) {
    EXPECT_FALSE(secrets(blank, "a", "b").isUsable());
    EXPECT_FALSE(secrets("id", blank, "b").isUsable());
    EXPECT_FALSE(secrets("id", "a", blank).isUsable());
  }
}

TEST(InstallationSecrets, RefuseBadInput) {
  const std::string good = R"("pairingID":"i","relayAuthToken":"a","e2eSecret":"b")";
  EXPECT_TRUE(read("{" + good + "}").has_value());
  EXPECT_TRUE(read("{\"more\":[1]," + good + "}").has_value());
  const std::string table[] = {
      "",
      "{",
      "[]",
      "7",
      "{}",
      R"({"pairingID":"i","relayAuthToken":"a"})",
      R"({"pairingID":"i","relayAuthToken":"a","e2eSecret":null})",
      R"({"pairingID":"i","relayAuthToken":7,"e2eSecret":"b"})",
      "{" + good + R"(,"e2eSecret":"c"})",
      "{" + good + ",\"deep\":" + std::string(9, '[') + std::string(9, ']') + "}",
      std::string(100'000, '['),
      "{" + good + "}" + std::string(20'000, ' '),
      R"({"pairingID":"\ud800","relayAuthToken":"a","e2eSecret":"b"})",
      "{\"pairingID\":\"\xFF\",\"relayAuthToken\":\"a\",\"e2eSecret\":\"b\"}",
      R"({"pairingID":1e999,"relayAuthToken":"a","e2eSecret":"b"})",
  };
  for (const auto& text : table) EXPECT_FALSE(read(text).has_value()) << text.substr(0, 80);
}

}  // namespace
}  // namespace quillard
