#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "platform/network/Http.h"
#include "platform/process/Executors.h"
#include "relay/RelayLaunchConfiguration.h"
#include "values/Secret.h"

namespace quillard {

// Why the relay did not take the installation's token. `description` is for people to read.
struct RelayRegistrationError {
  enum class Case { rejected, invalidRelayURL, invalidResponse, pairingRevoked };
  Case code = Case::invalidResponse;
  int statusCode = 0;  // Of `rejected`.

  [[nodiscard]] std::string description() const;
  bool operator==(const RelayRegistrationError&) const = default;
};

using RelayRegistrationFailure = std::variant<RelayRegistrationError, platform::TransportError>;
// Absent: the relay knows the token now.
using RelayRegistrationOutcome = std::optional<RelayRegistrationFailure>;

[[nodiscard]] std::string description(const RelayRegistrationFailure& failure);

// Makes `relaySecret` known to the relay as this installation's bearer token: one request, no repetition, 8 s at most.
// Calls `completion` exactly once, as a later turn of `executor`, for which `session` was made; never when the session
// is destroyed before. A token never goes in clear to another computer: such an address is an `invalidRelayURL`.
void registerRelayAuthToken(const RelayLaunchConfiguration& configuration, const Secret& relaySecret,
                            platform::HttpSession& session, platform::SerialExecutor& executor,
                            std::function<void(RelayRegistrationOutcome)> completion);

}  // namespace quillard
