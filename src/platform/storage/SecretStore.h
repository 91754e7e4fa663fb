#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "values/Secret.h"

namespace quillard::platform {

// The two places that hold secrets, the better one first. Each binding says in its header what they are on its system.
enum class SecretPlace { dataProtectionKeychain, fileKeychain };

// `itemNotFound` means that the place was read and holds no such item; every code after it means that nothing is known
// about the item, which may well exist: it must not be replaced on that ground.
enum class SecretStatusCode {
  success,
  itemNotFound,
  missingEntitlement,     // This build may not use this place at all.
  interactionNotAllowed,  // Locked, and the user may not be asked now.
  accessDenied,
  other,
};

struct SecretStatus {
  SecretStatusCode code = SecretStatusCode::success;
  std::string text;  // The system's own words for it, with its number where it has one. Empty on success.
};

struct SecretReading {
  SecretStatus status;
  Secret data;  // Empty unless the status is `success`.
};

// Secrets of this user, by service and account. Waits for another process or a disk: not for the main thread's busy
// moments. Never asks the user. Any thread, one call after another.
class SecretStore {
 public:
  virtual ~SecretStore() = default;
  [[nodiscard]] virtual SecretReading copyMatching(SecretPlace place, std::string_view service,
                                                   std::string_view account) = 0;
  // Fails with `other` when the item is there already.
  [[nodiscard]] virtual SecretStatus add(SecretPlace place, std::string_view service, std::string_view account,
                                         const Secret& data) = 0;
  // `itemNotFound` when there is nothing to update.
  [[nodiscard]] virtual SecretStatus update(SecretPlace place, std::string_view service, std::string_view account,
                                            const Secret& data) = 0;
  [[nodiscard]] virtual SecretStatus remove(SecretPlace place, std::string_view service, std::string_view account) = 0;
};

}  // namespace quillard::platform
