#pragma once

#include "companion/relay/rules/ClientAddress.h"

namespace quillard::relayserver {

// Whether an address is one of the open net: not private, loopback, link-local, of a group, reserved, nor one that
// holds another address. A name that leads elsewhere would have the relay post to its operator's own network.
[[nodiscard]] bool isPublicAddress(const IpAddress& address);

}  // namespace quillard::relayserver
