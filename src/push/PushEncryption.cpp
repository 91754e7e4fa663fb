#include "push/PushEncryption.h"

#include <algorithm>
#include <memory>
#include <span>

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/obj_mac.h>

namespace quillard {
namespace {

template <auto release>
struct Release {
  template <class T>
  void operator()(T* object) const {
    release(object);
  }
};
using Number = std::unique_ptr<BIGNUM, Release<BN_clear_free>>;
using Group = std::unique_ptr<EC_GROUP, Release<EC_GROUP_free>>;
using CurvePoint = std::unique_ptr<EC_POINT, Release<EC_POINT_free>>;
using Cipher = std::unique_ptr<EVP_CIPHER_CTX, Release<EVP_CIPHER_CTX_free>>;
using Derivation = std::unique_ptr<EVP_KDF, Release<EVP_KDF_free>>;
using DerivationContext = std::unique_ptr<EVP_KDF_CTX, Release<EVP_KDF_CTX_free>>;

using PointBytes = std::array<std::uint8_t, PushKeys::kPoint>;
constexpr std::size_t kKey = 16;
constexpr std::size_t kNonce = 12;
constexpr std::size_t kTag = 16;
constexpr std::size_t kShared = 32;
constexpr std::uint8_t kLastRecord = 2;
constexpr std::array<std::uint8_t, 4> kRecordSize{0, 0, 0x10, 0};

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

void append(std::vector<std::uint8_t>& to, std::span<const std::uint8_t> bytes) {
  to.insert(to.end(), bytes.begin(), bytes.end());
}

// What the sender's key of one push is for: its public half, and what it shares with the phone.
struct Agreement {
  PointBytes publicKey{};
  Secret shared;
};

bool isScalar(const EC_GROUP* group, const BIGNUM* scalar) {
  return !BN_is_zero(scalar) && BN_cmp(scalar, EC_GROUP_get0_order(group)) < 0;
}

bool write(const EC_GROUP* group, const EC_POINT* point, PointBytes& bytes) {
  return EC_POINT_point2oct(group, point, POINT_CONVERSION_UNCOMPRESSED, bytes.data(), bytes.size(), nullptr) ==
         bytes.size();
}

// Absent: either is no key of this curve.
std::optional<Agreement> agree(const PointBytes& theirs, const Secret& privateKey) {
  const Group group{EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1)};
  if (!group || privateKey.view().size() != PushSalt::kScalar) return std::nullopt;
  const Number scalar{BN_bin2bn(privateKey.view().data(), static_cast<int>(privateKey.view().size()), nullptr)};
  const CurvePoint phone{EC_POINT_new(group.get())};
  const CurvePoint own{EC_POINT_new(group.get())};
  const CurvePoint shared{EC_POINT_new(group.get())};
  if (!scalar || !phone || !own || !shared || !isScalar(group.get(), scalar.get())) return std::nullopt;
  BN_set_flags(scalar.get(), BN_FLG_CONSTTIME);
  // A point that begins with 4 is none at infinity; whether it is on the curve is checked here.
  if (theirs[0] != POINT_CONVERSION_UNCOMPRESSED ||
      EC_POINT_oct2point(group.get(), phone.get(), theirs.data(), theirs.size(), nullptr) != 1 ||
      EC_POINT_mul(group.get(), own.get(), scalar.get(), nullptr, nullptr, nullptr) != 1 ||
      EC_POINT_mul(group.get(), shared.get(), nullptr, phone.get(), scalar.get(), nullptr) != 1) {
    return std::nullopt;
  }
  Agreement agreement;
  PointBytes both{};
  if (!write(group.get(), own.get(), agreement.publicKey) || !write(group.get(), shared.get(), both)) {
    return std::nullopt;
  }
  agreement.shared = Secret{std::span<const std::uint8_t>{both}.subspan(1, kShared)};
  wipe(both);
  return agreement;
}

// HKDF with SHA-256. Absent when it fails.
std::optional<Secret> derived(std::span<const std::uint8_t> salt, const Secret& key, std::span<const std::uint8_t> info,
                              std::size_t length) {
  const Derivation algorithm{EVP_KDF_fetch(nullptr, "HKDF", nullptr)};
  const DerivationContext context{algorithm ? EVP_KDF_CTX_new(algorithm.get()) : nullptr};
  if (!context) return std::nullopt;
  std::string digest = "SHA256";
  const auto octets = [](const char* name, std::span<const std::uint8_t> bytes) {
    return OSSL_PARAM_construct_octet_string(name, const_cast<std::uint8_t*>(bytes.data()), bytes.size());
  };
  const std::array<OSSL_PARAM, 5> parameters{OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest.data(), 0),
                                             octets(OSSL_KDF_PARAM_SALT, salt), octets(OSSL_KDF_PARAM_KEY, key.view()),
                                             octets(OSSL_KDF_PARAM_INFO, info), OSSL_PARAM_construct_end()};
  std::vector<std::uint8_t> bytes(length);
  const bool isDone = EVP_KDF_derive(context.get(), bytes.data(), bytes.size(), parameters.data()) == 1;
  Secret result{std::span<const std::uint8_t>{bytes}};
  wipe(bytes);
  return isDone ? std::optional(std::move(result)) : std::nullopt;
}

struct RecordKeys {
  Secret key;
  Secret nonce;
};

std::optional<RecordKeys> recordKeys(const Agreement& agreement, const PushKeys& phone, const PushSalt& salt) {
  constexpr std::string_view kInfo{"WebPush: info\0", 14};
  constexpr std::string_view kKeyInfo{"Content-Encoding: aes128gcm\0", 28};
  constexpr std::string_view kNonceInfo{"Content-Encoding: nonce\0", 24};
  std::vector<std::uint8_t> info;
  append(info, bytesOf(kInfo));
  append(info, phone.p256dh);
  append(info, agreement.publicKey);
  if (phone.auth.view().size() != PushKeys::kAuth) return std::nullopt;
  const auto input = derived(phone.auth.view(), agreement.shared, info, kShared);
  if (!input) return std::nullopt;
  auto key = derived(salt.salt, *input, bytesOf(kKeyInfo), kKey);
  auto nonce = derived(salt.salt, *input, bytesOf(kNonceInfo), kNonce);
  if (!key || !nonce) return std::nullopt;
  return RecordKeys{std::move(*key), std::move(*nonce)};
}

// Appends ciphertext and tag to `body`.
bool seal(std::span<const std::uint8_t> record, const RecordKeys& keys, std::vector<std::uint8_t>& body) {
  const Cipher cipher{EVP_CIPHER_CTX_new()};
  const std::size_t begin = body.size();
  body.resize(begin + record.size() + kTag);
  int written = 0;
  int rest = 0;
  std::uint8_t* const out = body.data() + begin;
  return cipher &&
         EVP_EncryptInit_ex(cipher.get(), EVP_aes_128_gcm(), nullptr, keys.key.view().data(),
                            keys.nonce.view().data()) == 1 &&
         EVP_EncryptUpdate(cipher.get(), out, &written, record.data(), static_cast<int>(record.size())) == 1 &&
         written == static_cast<int>(record.size()) && EVP_EncryptFinal_ex(cipher.get(), out + written, &rest) == 1 &&
         EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_AEAD_GET_TAG, kTag, out + record.size()) == 1;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> encryptedPush(std::string_view text, const PushKeys& keys,
                                                       const PushSalt& salt) {
  if (text.size() > kLongestPushText) return std::nullopt;
  const auto agreement = agree(keys.p256dh, salt.privateKey);
  const auto record = agreement ? recordKeys(*agreement, keys, salt) : std::nullopt;
  if (!record) return std::nullopt;
  std::vector<std::uint8_t> body;
  append(body, salt.salt);
  append(body, kRecordSize);
  body.push_back(static_cast<std::uint8_t>(agreement->publicKey.size()));
  append(body, agreement->publicKey);
  std::vector<std::uint8_t> plain;
  plain.reserve(text.size() + 1);
  append(plain, bytesOf(text));
  plain.push_back(kLastRecord);
  if (!seal(plain, *record, body)) return std::nullopt;
  return body;
}

std::optional<std::vector<std::uint8_t>> encryptedPush(std::string_view text, const PushKeys& keys,
                                                       platform::Random& random) {
  PushSalt salt;
  std::array<std::uint8_t, PushSalt::kScalar> scalar{};
  if (!random.fillSecurely(salt.salt) || !random.fillSecurely(scalar)) return std::nullopt;
  salt.privateKey = Secret{std::span<const std::uint8_t>{scalar}};
  wipe(scalar);
  // One of 2^32 such numbers is no key; then there is no push, as after any other failure.
  return encryptedPush(text, keys, salt);
}

}  // namespace quillard
