#include "companion/relay/push/VapidKey.h"

#include <algorithm>
#include <array>
#include <vector>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include "companion/relay/push/PushEndpoint.h"
#include "foundation/BrokenPromise.h"
#include "foundation/StrictBase64.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr const char* kCurve = "P-256";
constexpr std::size_t kPointBytes = 65;
constexpr int kHalfOfSignature = 32;

template <class Type, void (*release)(Type*)>
struct Release {
  void operator()(Type* owned) const { release(owned); }
};
template <class Type, void (*release)(Type*)>
using Owned = std::unique_ptr<Type, Release<Type, release>>;
using Number = Owned<BIGNUM, BN_clear_free>;
using Group = Owned<EC_GROUP, EC_GROUP_free>;
using Point = Owned<EC_POINT, EC_POINT_free>;
using Key = Owned<EVP_PKEY, EVP_PKEY_free>;
using KeyContext = Owned<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using Digest = Owned<EVP_MD_CTX, EVP_MD_CTX_free>;
using Signature = Owned<ECDSA_SIG, ECDSA_SIG_free>;
using ParameterBuilder = Owned<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>;
using Parameters = Owned<OSSL_PARAM, OSSL_PARAM_free>;

void require(bool holds) {
  if (!holds) stopForBrokenPromise("OpenSSL has P-256 and ES256.");
}

const unsigned char* bytesOf(std::string_view text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// The point of a secret; empty: it is none of this curve.
std::string pointOf(const BIGNUM* secret) {
  const Group group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
  require(group != nullptr);
  const bool isSecret = BN_is_zero(secret) == 0 && BN_cmp(secret, EC_GROUP_get0_order(group.get())) < 0;
  if (!isSecret) return "";
  const Point point(EC_POINT_new(group.get()));
  require(point && EC_POINT_mul(group.get(), point.get(), secret, nullptr, nullptr, nullptr) == 1);
  std::string bytes(kPointBytes, '\0');
  require(EC_POINT_point2oct(group.get(), point.get(), POINT_CONVERSION_UNCOMPRESSED,
                             reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), nullptr) == kPointBytes);
  return bytes;
}

EVP_PKEY* keyOf(const BIGNUM* secret, const std::string& point) {
  const ParameterBuilder builder(OSSL_PARAM_BLD_new());
  require(builder && OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, kCurve, 0) == 1 &&
          OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_PRIV_KEY, secret) == 1 &&
          OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()) == 1);
  const Parameters parameters(OSSL_PARAM_BLD_to_param(builder.get()));
  const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
  EVP_PKEY* made = nullptr;
  require(parameters && context && EVP_PKEY_fromdata_init(context.get()) == 1 &&
          EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEYPAIR, parameters.get()) == 1);
  return made;
}

std::string urlText(std::string_view bytes) {
  return base64UrlText({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

}  // namespace

std::string VapidKey::newSecret() {
  const Key made(EVP_EC_gen(kCurve));
  require(made != nullptr);
  BIGNUM* read = nullptr;
  require(EVP_PKEY_get_bn_param(made.get(), OSSL_PKEY_PARAM_PRIV_KEY, &read) == 1);
  const Number secret(read);
  std::string bytes(kSecretBytes, '\0');
  require(BN_bn2binpad(secret.get(), reinterpret_cast<unsigned char*>(bytes.data()), kSecretBytes) ==
          static_cast<int>(kSecretBytes));
  return bytes;
}

std::optional<VapidKey> VapidKey::fromSecret(std::string_view bytes) {
  if (bytes.size() != kSecretBytes) return std::nullopt;
  const Number secret(BN_bin2bn(bytesOf(bytes), static_cast<int>(bytes.size()), nullptr));
  require(secret != nullptr);
  const auto point = pointOf(secret.get());
  if (point.empty()) return std::nullopt;
  VapidKey key;
  key.pair = std::shared_ptr<EVP_PKEY>(keyOf(secret.get(), point), EVP_PKEY_free);
  key.written = urlText(point);
  return key;
}

std::string VapidKey::sign(std::string_view text) const {
  const Digest digest(EVP_MD_CTX_new());
  std::size_t size = 0;
  require(digest && EVP_DigestSignInit(digest.get(), nullptr, EVP_sha256(), nullptr, pair.get()) == 1 &&
          EVP_DigestSign(digest.get(), nullptr, &size, bytesOf(text), text.size()) == 1);
  std::vector<unsigned char> encoded(size);
  require(EVP_DigestSign(digest.get(), encoded.data(), &size, bytesOf(text), text.size()) == 1);
  const unsigned char* at = encoded.data();
  const Signature read(d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(size)));
  std::array<unsigned char, 2 * kHalfOfSignature> halves{};
  require(read && BN_bn2binpad(ECDSA_SIG_get0_r(read.get()), halves.data(), kHalfOfSignature) == kHalfOfSignature &&
          BN_bn2binpad(ECDSA_SIG_get0_s(read.get()), halves.data() + kHalfOfSignature, kHalfOfSignature) ==
              kHalfOfSignature);
  return {halves.begin(), halves.end()};
}

bool isPushContact(std::string_view text) {
  constexpr std::size_t kLongest = 200;
  constexpr std::string_view kMail = "mailto:";
  if (text.size() > kLongest) return false;
  if (!text.starts_with(kMail)) {
    const std::string whole = std::string(text) + (text.find('/', 8) == std::string_view::npos ? "/" : "");
    const auto read = PushEndpoint::parse(whole);
    return read && !read->isAddress;
  }
  text.remove_prefix(kMail.size());
  const auto at = text.find('@');
  if (at == std::string_view::npos || at == 0) return false;
  const auto local = text.substr(0, at);
  const bool isPlain = std::all_of(local.begin(), local.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view(".-_+").find(c) != std::string_view::npos;
  });
  const std::string domain(text.substr(at + 1));
  const auto host = PushEndpoint::parse("https://" + domain + "/");
  return isPlain && host && !host->isAddress && host->host == domain;
}

std::string VapidTokens::authorization(const std::string& origin, std::int64_t now) {
  constexpr std::int64_t kHour = 3600;
  constexpr std::int64_t kLife = 12 * kHour;  // Services take a day at most; clocks differ.
  constexpr std::int64_t kUsed = 6 * kHour;
  constexpr std::size_t kMostTokens = 256;
  const auto found = tokens.find(origin);
  // Also when the clock was set back.
  const bool isUsable = found != tokens.end() && now >= found->second.madeAt && now < found->second.madeAt + kUsed;
  if (isUsable) return found->second.text;
  const Json head{{"typ", "JWT"}, {"alg", "ES256"}};
  const Json claims{{"aud", origin}, {"exp", now + kLife}, {"sub", contact}};
  const std::string signedText = urlText(head.dump()) + "." + urlText(claims.dump());
  const std::string token = signedText + "." + urlText(key.sign(signedText));
  if (tokens.size() >= kMostTokens) tokens.clear();
  Token& kept = tokens[origin];
  kept = {.text = "vapid t=" + token + ", k=" + key.publicText(), .madeAt = now};
  return kept.text;
}

}  // namespace quillard::relayserver
