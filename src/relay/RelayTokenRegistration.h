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

// Why the relay did not take the installation's token. `description` is for users.
struct RelayRegistrationError {
  enum class Case {
    rejected,
    invalidRelayURL,
    invalidResponse,
    pairingRevoked,
    computerKeyWanted,  // The relay would keep a key that proves who is the computer, and none was shown.
    otherComputer,      // The relay knows the pairing's computer by another key.
  };
  Case code = Case::invalidResponse;
  int statusCode = 0;  // Of `rejected`.

  [[nodiscard]] std::string description() const;
  bool operator==(const RelayRegistrationError&) const = default;
};

using RelayRegistrationFailure = std::variant<RelayRegistrationError, platform::TransportError>;
// Absent: the relay has the token.
using RelayRegistrationOutcome = std::optional<RelayRegistrationFailure>;

[[nodiscard]] std::string description(const RelayRegistrationFailure& failure);

// Registers `relaySecret` with the relay as this installation's bearer token: one request, no repetition, 8 s at most.
// Calls `completion` exactly once, as a later turn of `executor`, for which `session` was made; never when the session
// is destroyed before.
//
// A bearer token never travels in clear, except to this machine itself: plain HTTP to any other host is refused as an
// `invalidRelayURL`, without a connection. Whoever reads the token on the way could take the installation's place.
//
// `computerKey`: the key by which the relay is to know this computer from phones, which have the token, too. Empty:
// none was made yet; a relay that keeps such keys answers `computerKeyWanted` then. Absent: nothing is said of one.
// Relays that know nothing of such keys ignore it.
void registerRelayAuthToken(const RelayLaunchConfiguration& configuration, const Secret& relaySecret,
                            platform::HttpSession& session, platform::SerialExecutor& executor,
                            std::function<void(RelayRegistrationOutcome)> completion,
                            const std::optional<Secret>& computerKey = std::nullopt);

}  // namespace quillard
