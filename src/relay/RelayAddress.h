#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "foundation/UrlComponents.h"
#include "relay/RelayLaunchConfiguration.h"
#include "values/Secret.h"

namespace quillard {

// The header, of a registration and of the agent's WebSocket, that proves who is the computer.
inline constexpr std::string_view kComputerKeyHeader = "quillard-computer-key";

// The HTTP status by which a relay says, to a registration or a WebSocket, that the pairing is revoked.
inline constexpr int kRevokedStatus = 410;

// Whether bearer token and messages may travel to this address: encrypted to any host, in clear to this computer only.
// The host is compared exactly as it stands.
[[nodiscard]] bool isAllowedRelayURL(const UrlComponents& components);
// The same for the text of an address. What is none is not allowed.
[[nodiscard]] bool isAllowedRelayURL(std::string_view address);

// Why there is no address to connect to. `line`: what to print; empty: nothing. Holds no query and no user.
struct RelayAddressRefusal {
  std::string line;
  bool operator==(const RelayAddressRefusal&) const = default;
};

// The item of the relay's address, as the user gives it, that holds the key which its operator may ask for when a
// pairing is registered. It goes no further: neither into the pairing code, nor into the address of the socket.
inline constexpr std::string_view kRegistrationKeyItem = "registration-key";

// The address of the socket: the relay's own, its other query items kept, followed by this side's role and the pairing.
[[nodiscard]] std::variant<std::string, RelayAddressRefusal> relaySocketURL(
    const RelayLaunchConfiguration& configuration);

// What is shown to this relay of the computer's key: each relay gets a key of its own, so that none can pose as the
// computer at another one. The same for every port, path and query of one host: a relay that listens elsewhere on its
// machine still knows the computer. Empty: there is no key, or no address.
[[nodiscard]] Secret computerKeyFor(const Secret& computerKey, std::string_view relayURL);

}  // namespace quillard
