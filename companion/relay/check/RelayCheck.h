#pragma once

#include <functional>
#include <string>

#include "companion/relay/check/CheckedConnection.h"

namespace quillard::relayserver {

struct RelayCheckOptions {
  CheckedAddress address;
  std::string registrationKey;      // Empty: none.
  std::chrono::seconds silence{0};  // How long both connections are kept silent, to see whether something drops them.
  double currentSecondsSinceEpoch = 0;
  std::chrono::milliseconds timeout{10'000};  // For each answer and message.
};

// Uses a relay as an agent and a phone do, with a pairing of its own that it revokes at the end, whatever it found, and
// prints a line for each thing that works and for the first that does not. Whether all of it works. Takes a few seconds
// and `silence`.
[[nodiscard]] bool checkRelay(const RelayCheckOptions& options, const std::function<void(const std::string&)>& print);

}  // namespace quillard::relayserver
