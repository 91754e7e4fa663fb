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

// Seals the outgoing messages of one client, and opens each incoming box once: a box that was sealed or opened here
// before is refused, whatever message contains it (see SealedBoxMemory). One thread at a time.
class SealedConversation {
 public:
  // `random` outlives the conversation.
  SealedConversation(Secret cryptoSecret, platform::Random& random);

  [[nodiscard]] std::variant<EncryptedRelayPayload, SealingFailure> seal(const Json& value);
  // The plaintext.
  [[nodiscard]] std::variant<std::string, SealingFailure> open(const EncryptedRelayPayload& payload);

 private:
  Secret cryptoSecret;
  platform::Random& random;
  SealedBoxMemory memory;
};

}  // namespace quillard
