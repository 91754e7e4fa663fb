#pragma once

#include <cstdint>
#include <string>

namespace quillard {

// What the relay passes on and cannot read.
struct EncryptedRelayPayload {
  std::int64_t version = 1;  // Ignored when opening.
  std::string nonce;         // Base64; a copy, ignored as well.
  std::string ciphertext;    // Base64 of the whole box: nonce, ciphertext, tag.
  bool operator==(const EncryptedRelayPayload&) const = default;
};

}  // namespace quillard
