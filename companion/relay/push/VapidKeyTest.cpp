#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>

#include "companion/relay/push/VapidKey.h"
#include "foundation/StrictBase64.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr std::int64_t kNow = 1'772'000'000;
const std::string kOrigin = "https://push.example";

std::string decodedUrl(std::string_view text) {
  const auto bytes = base64UrlBytes(text).value();
  return {bytes.begin(), bytes.end()};
}

// The key pair of the example of RFC 8291.
std::string secretOfTheExample() { return decodedUrl("yfWPiYE-n46HLnH0KqZOF1fJJU3MYrct3AELtAQ-oRw"); }
VapidTokens tokens() { return {VapidKey::fromSecret(secretOfTheExample()).value(), "mailto:operator@relay.example"}; }

struct Token {
  Json head;
  Json claims;
  std::string signedText;
  std::string signature;
  std::string key;
};

Token read(const std::string& authorization) {
  const auto comma = authorization.find(", k=");
  EXPECT_TRUE(authorization.starts_with("vapid t="));
  const auto text = authorization.substr(8, comma - 8);
  const auto first = text.find('.');
  const auto second = text.find('.', first + 1);
  return {.head = Json::parse(decodedUrl(text.substr(0, first))),
          .claims = Json::parse(decodedUrl(text.substr(first + 1, second - first - 1))),
          .signedText = text.substr(0, second),
          .signature = decodedUrl(text.substr(second + 1)),
          .key = authorization.substr(comma + 4)};
}

bool isSignedBy(const std::string& point, const std::string& text, const std::string& signature) {
  EVP_PKEY* key = nullptr;
  EVP_PKEY_CTX* parameters = EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr);
  EVP_PKEY_paramgen_init(parameters);
  EVP_PKEY_CTX_set_ec_paramgen_curve_nid(parameters, NID_X9_62_prime256v1);
  EVP_PKEY_paramgen(parameters, &key);
  EVP_PKEY_CTX_free(parameters);
  EXPECT_EQ(EVP_PKEY_set1_encoded_public_key(key, reinterpret_cast<const unsigned char*>(point.data()), point.size()),
            1);
  ECDSA_SIG* halves = ECDSA_SIG_new();
  const auto* bytes = reinterpret_cast<const unsigned char*>(signature.data());
  ECDSA_SIG_set0(halves, BN_bin2bn(bytes, 32, nullptr), BN_bin2bn(bytes + 32, 32, nullptr));
  unsigned char* encoded = nullptr;
  const int size = i2d_ECDSA_SIG(halves, &encoded);
  EVP_MD_CTX* digest = EVP_MD_CTX_new();
  EVP_DigestVerifyInit(digest, nullptr, EVP_sha256(), nullptr, key);
  const bool isGood = EVP_DigestVerify(digest, encoded, static_cast<std::size_t>(size),
                                       reinterpret_cast<const unsigned char*>(text.data()), text.size()) == 1;
  EVP_MD_CTX_free(digest);
  OPENSSL_free(encoded);
  ECDSA_SIG_free(halves);
  EVP_PKEY_free(key);
  return isGood;
}

TEST(VapidKey, HasThePublicKeyOfItsSecret) {
  const auto key = VapidKey::fromSecret(secretOfTheExample());
  ASSERT_TRUE(key);
  EXPECT_EQ(key->publicText(),
            "BP4z9KsN6nGRTbVYI_c7VJSPQTBtkgcy27mlmlMoZIIgDll6e3vCYLocInmYWAmS6TlzAC8wEqKK6PBru3jl7A8");
}

TEST(VapidKey, IsMadeOfASecretOfTheCurveOnly) {
  EXPECT_FALSE(VapidKey::fromSecret(""));
  EXPECT_FALSE(VapidKey::fromSecret(std::string(31, 'a')));
  EXPECT_FALSE(VapidKey::fromSecret(std::string(32, '\0')));
  EXPECT_FALSE(VapidKey::fromSecret(std::string(32, '\xFF')));  // Above the order.
  const auto secret = VapidKey::newSecret();
  EXPECT_TRUE(VapidKey::fromSecret(secret));
  EXPECT_NE(VapidKey::newSecret(), secret);
}

TEST(VapidTokens, SayWhoPostsWhereAndUntilWhen) {
  auto made = tokens();
  const auto token = read(made.authorization(kOrigin, kNow));
  EXPECT_EQ(token.head, (Json{{"typ", "JWT"}, {"alg", "ES256"}}));
  EXPECT_EQ(token.claims,
            (Json{{"aud", kOrigin}, {"exp", kNow + 12 * 3600}, {"sub", "mailto:operator@relay.example"}}));
  EXPECT_EQ(token.key, made.publicText());
  ASSERT_EQ(token.signature.size(), 64U);
  EXPECT_TRUE(isSignedBy(decodedUrl(token.key), token.signedText, token.signature));
  EXPECT_FALSE(isSignedBy(decodedUrl(token.key), token.signedText + "x", token.signature));
}

// A half that begins with a byte of zero keeps its length: of 600 there are four, more or less.
TEST(VapidKey, WritesBothHalvesOfEverySignatureInFull) {
  const auto key = VapidKey::fromSecret(secretOfTheExample()).value();
  const auto point = decodedUrl(key.publicText());
  int shorter = 0;
  for (int i = 0; i < 600; ++i) {
    const auto text = std::to_string(i);
    const auto signature = key.sign(text);
    ASSERT_EQ(signature.size(), 64U);
    const bool isShort = signature[0] == '\0' || signature[32] == '\0';
    shorter += isShort ? 1 : 0;
    if (isShort || i < 20) {
      ASSERT_TRUE(isSignedBy(point, text, signature)) << i;
    }
  }
  EXPECT_LT(shorter, 60);
}

TEST(VapidTokens, AreUsedForSixHoursAndOneForEachService) {
  auto made = tokens();
  const auto first = made.authorization(kOrigin, kNow);
  EXPECT_EQ(made.authorization(kOrigin, kNow + 6 * 3600 - 1), first);
  EXPECT_NE(made.authorization("https://other.example", kNow), first);
  EXPECT_NE(made.authorization(kOrigin, kNow + 6 * 3600), first);
  // The clock was set back: what expires in more than a day would be refused.
  EXPECT_EQ(read(made.authorization(kOrigin, kNow - 86'400)).claims["exp"], kNow - 86'400 + 12 * 3600);
}

TEST(VapidTokens, AreMadeAnewAfterOneWasRefused) {
  auto made = tokens();
  const auto first = made.authorization(kOrigin, kNow);
  made.forget(kOrigin);
  EXPECT_NE(made.authorization(kOrigin, kNow + 1), first);
}

TEST(PushContact, IsAPlainAddressThatNoServiceRefuses) {
  for (const std::string text : {"mailto:operator@relay.example", "mailto:a.b+c@relay.example", "https://relay.example",
                                 "https://relay.example/contact"}) {
    EXPECT_TRUE(isPushContact(text)) << text;
  }
  for (const std::string text :
       {"", "operator@relay.example", "mailto:", "mailto:operator", "mailto:@relay.example", "mailto:a b@relay.example",
        "mailto:<operator@relay.example>", "mailto: operator@relay.example", "mailto:operator@localhost",
        "mailto:operator@127.0.0.1", "mailto:operator@relay.example?subject=x", "http://relay.example",
        "https://localhost", "https://127.0.0.1", "https://relay.example/a b", "mailto:a@relay.example:25"}) {
    EXPECT_FALSE(isPushContact(text)) << text;
  }
}

}  // namespace
}  // namespace quillard::relayserver
