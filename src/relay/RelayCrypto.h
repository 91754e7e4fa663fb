#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/StrictJson.h"
#include "platform/process/Random.h"
#include "relay/RelayMessages.h"
#include "relay/SealedBox.h"
#include "values/Secret.h"

namespace quillard {

enum class RelayCryptoError { invalidCiphertext };

[[nodiscard]] std::string_view description(RelayCryptoError error);

// Seals what the relay must not read: only a holder of the pairing's end-to-end secret can open it. Stateless; any
// thread.
namespace RelayCrypto {

// The AES-256 key that a secret stands for: the SHA-256 of its UTF-8, white space and line breaks at both ends left
// out.
[[nodiscard]] Secret key(const Secret& secret);

// Fails with what is wrong in `value` when it cannot be written as JSON, else with `invalidCiphertext` when there are
// no random bytes for the nonce or the cipher fails.
[[nodiscard]] std::variant<EncryptedRelayPayload, JsonError, RelayCryptoError> seal(const Json& value,
                                                                                    const Secret& relaySecret,
                                                                                    platform::Random& random);

// The same for a text that is JSON already.
[[nodiscard]] std::variant<EncryptedRelayPayload, RelayCryptoError> sealText(std::string_view plaintext,
                                                                             const Secret& relaySecret,
                                                                             platform::Random& random);

// The bytes of the sealed box; fails unless `ciphertext` is standard base64 of at least a nonce and a tag.
[[nodiscard]] std::variant<BoxBytes, RelayCryptoError> box(const EncryptedRelayPayload& payload);

// The plaintext. `version` and `nonce` of the payload are ignored: the box contains the nonce that counts.
[[nodiscard]] std::variant<std::string, RelayCryptoError> open(const EncryptedRelayPayload& payload,
                                                               const Secret& relaySecret);

// The SHA-256 of `text`: 64 lower-case hexadecimal digits.
[[nodiscard]] std::string digest(std::string_view text);

// 64 lower-case hexadecimal digits that are equal for lists of the same identities and button labels in the same order.
[[nodiscard]] std::string snapshotID(const std::vector<PendingApproval>& approvals);

}  // namespace RelayCrypto
}  // namespace quillard
