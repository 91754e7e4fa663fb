#pragma once

namespace quillard {

// Who names the relay.
enum class RelayOrigin { environment, bundle, user };

}  // namespace quillard
