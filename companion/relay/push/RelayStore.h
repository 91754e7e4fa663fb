#pragma once

#include "companion/relay/push/PushStore.h"
#include "companion/relay/rules/PairingStore.h"

namespace quillard::relayserver {

// All of a relay that outlives the process.
class RelayStore : public PairingStore, public PushStore {};

}  // namespace quillard::relayserver
