#include "companion/relay/rules/TokenHash.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "foundation/BrokenPromise.h"

namespace quillard::relayserver {

TokenHash hashOf(std::string_view token) {
  TokenHash hash{};
  if (EVP_Digest(token.data(), token.size(), hash.data(), nullptr, EVP_sha256(), nullptr) != 1) {
    stopForBrokenPromise("SHA-256 is always there.");
  }
  return hash;
}

bool areEqual(const TokenHash& one, const TokenHash& other) {
  return CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace quillard::relayserver
