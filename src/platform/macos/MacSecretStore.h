#pragma once

#include "platform/storage/SecretStore.h"

namespace quillard::macos {

// Generic passwords in the user's keychains: the data-protection keychain, and the older one in a file.
//
// The first wants an entitlement, which only a build with a provisioning profile has. A build without it is told
// `missingEntitlement` when it writes, but `itemNotFound` when it reads: having found nothing there proves nothing.
//
// The second may be locked, or hold an item of another build, and would then ask the user. The user is not asked here:
// the answer is `interactionNotAllowed` then.
class MacSecretStore final : public platform::SecretStore {
 public:
  [[nodiscard]] platform::SecretReading copyMatching(platform::SecretPlace place, std::string_view service,
                                                     std::string_view account) override;
  [[nodiscard]] platform::SecretStatus add(platform::SecretPlace place, std::string_view service,
                                           std::string_view account, const Secret& data) override;
  [[nodiscard]] platform::SecretStatus update(platform::SecretPlace place, std::string_view service,
                                              std::string_view account, const Secret& data) override;
  [[nodiscard]] platform::SecretStatus remove(platform::SecretPlace place, std::string_view service,
                                              std::string_view account) override;
};

}  // namespace quillard::macos
