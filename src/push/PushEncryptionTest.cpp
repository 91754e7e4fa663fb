#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/StrictBase64.h"
#include "platform/simulated/SimulatedWorld.h"
#include "push/PushEncryption.h"

namespace quillard {
namespace {

// RFC 8291, section 5.
constexpr std::string_view kPhoneKey =
    "BCVxsr7N_eNgVRqvHtD0zTZsEc6-VV-JvLexhqUzORcxaOzi6-AYWXvTBHm4bjyPjs7Vd8pZGH6SRpkNtoIAiw4";
constexpr std::string_view kAuth = "BTBZMqHH6r4Tts7J_aSIgg";
constexpr std::string_view kOwnKey = "yfWPiYE-n46HLnH0KqZOF1fJJU3MYrct3AELtAQ-oRw";
constexpr std::string_view kSalt = "DGv6ra1nlYgDCS1FRnbzlw";
constexpr std::string_view kText = "When I grow up, I want to be a watermelon";
constexpr std::string_view kBody =
    "DGv6ra1nlYgDCS1FRnbzlwAAEABBBP4z9KsN6nGRTbVYI_c7VJSPQTBtkgcy27ml"
    "mlMoZIIgDll6e3vCYLocInmYWAmS6TlzAC8wEqKK6PBru3jl7A_yl95bQpu6cVPT"
    "pK4Mqgkf1CXztLVBSt2Ks3oZwbuwXPXLWyouBWLVWGNWQexSgSxsj_Qulcy4a-fN";

std::vector<std::uint8_t> bytes(std::string_view text) { return base64UrlBytes(text).value(); }

PushKeys phoneKeys() {
  PushKeys keys;
  const auto point = bytes(kPhoneKey);
  std::copy(point.begin(), point.end(), keys.p256dh.begin());
  keys.auth = Secret{bytes(kAuth)};
  return keys;
}

PushSalt vectorSalt() {
  PushSalt salt{.privateKey = Secret{bytes(kOwnKey)}};
  const auto given = bytes(kSalt);
  std::copy(given.begin(), given.end(), salt.salt.begin());
  return salt;
}

TEST(PushEncryption, WritesTheVectorOfTheStandardByteForByte) {
  EXPECT_EQ(encryptedPush(kText, phoneKeys(), vectorSalt()), bytes(kBody));
}

TEST(PushEncryption, RefusesASecretOfAnotherLength) {
  auto keys = phoneKeys();
  for (const std::size_t length : {std::size_t{0}, PushKeys::kAuth - 1, PushKeys::kAuth + 1}) {
    keys.auth = Secret{std::vector<std::uint8_t>(length, 7)};
    EXPECT_FALSE(encryptedPush(kText, keys, vectorSalt())) << length;
  }
}

TEST(PushEncryption, RefusesAKeyThatIsNoPointOfTheCurve) {
  auto keys = phoneKeys();
  keys.p256dh[64] ^= 1U;
  EXPECT_EQ(encryptedPush(kText, keys, vectorSalt()), std::nullopt);
  keys = phoneKeys();
  keys.p256dh[0] = 0;  // The point at infinity begins so.
  EXPECT_EQ(encryptedPush(kText, keys, vectorSalt()), std::nullopt);
  keys.p256dh = {};
  EXPECT_EQ(encryptedPush(kText, keys, vectorSalt()), std::nullopt);
}

TEST(PushEncryption, RefusesPrivateKeysOutsideTheOrder) {
  for (const auto fill : std::array<std::uint8_t, 2>{0, 0xFF}) {
    auto salt = vectorSalt();
    salt.privateKey = Secret{std::vector<std::uint8_t>(PushSalt::kScalar, fill)};
    EXPECT_EQ(encryptedPush(kText, phoneKeys(), salt), std::nullopt);
  }
  auto salt = vectorSalt();
  salt.privateKey = Secret{std::vector<std::uint8_t>(PushSalt::kScalar - 1, 1)};
  EXPECT_EQ(encryptedPush(kText, phoneKeys(), salt), std::nullopt);
}

TEST(PushEncryption, FillsFourKibibytesAndNoMore) {
  const auto body = encryptedPush(std::string(kLongestPushText, 'a'), phoneKeys(), vectorSalt());
  ASSERT_TRUE(body);
  EXPECT_EQ(body->size(), 4096U);
  EXPECT_EQ(encryptedPush(std::string(kLongestPushText + 1, 'a'), phoneKeys(), vectorSalt()), std::nullopt);
  EXPECT_EQ(encryptedPush("", phoneKeys(), vectorSalt())->size(), 103U);
}

TEST(PushEncryption, IsAnotherOneEachTime) {
  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  const auto one = encryptedPush(kText, phoneKeys(), world.random());
  const auto other = encryptedPush(kText, phoneKeys(), world.random());
  ASSERT_TRUE(one && other);
  const auto keyOf = [](const auto& body) { return std::vector<std::uint8_t>(body.begin() + 21, body.begin() + 86); };
  EXPECT_NE(std::vector<std::uint8_t>(one->begin(), one->begin() + 16),
            std::vector<std::uint8_t>(other->begin(), other->begin() + 16));
  EXPECT_NE(keyOf(*one), keyOf(*other));
}

TEST(PushEncryption, DoesWithoutWhereThereAreNoRandomBytes) {
  class Broken final : public platform::Random {
   public:
    bool fillSecurely(std::span<std::uint8_t> bytes) override {
      std::fill(bytes.begin(), bytes.end(), 0);
      return false;
    }
    std::array<std::uint8_t, 16> identityBytes() override { return {}; }
  };
  Broken random;
  EXPECT_EQ(encryptedPush(kText, phoneKeys(), random), std::nullopt);
}

}  // namespace
}  // namespace quillard
