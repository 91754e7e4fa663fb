#include "detection/StableIDs.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include "foundation/BrokenPromise.h"

namespace quillard {
namespace {

constexpr std::size_t kHashBytes = 8;
using Hash = std::array<std::uint8_t, kHashBytes>;

// SipHash: a keyed hash of short texts, made so that who does not know the key cannot find two texts with one hash.
Hash keyedHash(const std::array<std::uint8_t, 16>& key, std::string_view text) {
  Hash hash{};
  std::size_t size = kHashBytes;
  std::size_t written = 0;
  const std::array<OSSL_PARAM, 2> parameters{OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &size),
                                             OSSL_PARAM_construct_end()};
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const auto* done = EVP_Q_mac(nullptr, "SIPHASH", nullptr, nullptr, parameters.data(), key.data(), key.size(), bytes,
                               text.size(), hash.data(), hash.size(), &written);
  if (!done || written != kHashBytes) stopForBrokenPromise("The cryptographic library has no SipHash.");
  return hash;
}

Uuid fingerprint(const StableIDs::Key& key, std::string_view text) {
  const Hash hash = keyedHash(key, text);
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < kHashBytes; ++i) {
    bytes[i] = hash[kHashBytes - 1 - i];  // The 64-bit value, most significant byte first,
    bytes[kHashBytes + i] = hash[i];      // and the same with its bytes reversed.
  }
  return Uuid{bytes};
}

}  // namespace

StableIDs::StableIDs(platform::Random& random) : key(random.identityBytes()) {}

Uuid StableIDs::stableID(std::string_view text) const { return fingerprint(key, text); }

std::vector<Uuid> StableIDs::earlierIDs(std::string_view text) const {
  std::vector<Uuid> ids;
  for (const auto& earlier : earlierKeys) ids.push_back(fingerprint(earlier, text));
  return ids;
}

}  // namespace quillard
