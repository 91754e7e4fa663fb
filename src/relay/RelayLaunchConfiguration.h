#pragma once

#include <string>

namespace quillard {

// Which relay to use, and under which identifier.
struct RelayLaunchConfiguration {
  std::string relayURL;  // ws or wss. May carry secrets in its query: printed without it only.
  std::string pairingID;
  bool operator==(const RelayLaunchConfiguration&) const = default;
};

}  // namespace quillard
