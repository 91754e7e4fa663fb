#pragma once

#include <string>
#include <variant>

#include "foundation/StrictJson.h"
#include "platform/process/Random.h"
#include "relay/RelayMessages.h"
#include "relay/SealedBoxMemory.h"
#include "values/Secret.h"

namespace quillard {

// Why something could not be sealed or opened. For a diagnostic line; holds nothing that was sealed.
struct SealingFailure {
  std::string description;
};

// What was inside a box.
struct OpenedBox {
  std::string plaintext;
  // Hexadecimal digits; equal for two deliveries of one box, and for nothing else.
  std::string boxID;
};

// Seals the outgoing messages of one client, and opens incoming boxes. A box that was sealed here is refused, whatever
// message contains it: the relay may return it (see SealedBoxMemory). One thread at a time.
class SealedConversation {
 public:
  // `random` outlives the conversation.
  SealedConversation(Secret cryptoSecret, platform::Random& random);

  [[nodiscard]] std::variant<EncryptedRelayPayload, SealingFailure> seal(const Json& value);
  // The same for what goes with a box that was just sealed here, once for each: its nonce is made of that one's by a
  // hash, and so is as good as a random one.
  [[nodiscard]] std::variant<EncryptedRelayPayload, SealingFailure> sealBeside(const Json& value,
                                                                               const EncryptedRelayPayload& other);

  // However often it was opened before: for who knows by the `boxID` what to do about that.
  [[nodiscard]] std::variant<OpenedBox, SealingFailure> open(const EncryptedRelayPayload& payload);
  // A box that was opened by this operation before is refused.
  [[nodiscard]] std::variant<OpenedBox, SealingFailure> openOnce(const EncryptedRelayPayload& payload);

 private:
  std::variant<EncryptedRelayPayload, SealingFailure> seal(const Json& value, platform::Random& nonces);

  Secret cryptoSecret;
  platform::Random& random;
  SealedBoxMemory sealedHere;
  SealedBoxMemory openedOnce;
};

}  // namespace quillard
