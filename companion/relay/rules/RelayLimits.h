#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "companion/relay/rules/TokenBucket.h"

namespace quillard::relayserver {

// All bounds of a relay. The defaults are those of docs/relay-protocol.md.
struct RelayLimits {
  std::size_t messageBytes = 1024 * 1024;
  std::size_t phones = 8;  // Of one pairing.
  std::size_t queuedBytes = 4 * 1024 * 1024;
  std::size_t queuedMessages = 256;
  std::uint32_t headerBytes = 16 * 1024;
  std::uint64_t bodyBytes = 4 * 1024;

  std::chrono::milliseconds handshake{10'000};  // TLS included.
  std::chrono::milliseconds ping{20'000};       // Also how often phones get their computer's status.
  std::chrono::milliseconds idle{60'000};
  std::chrono::milliseconds closeStagger{10'000};  // The longest time over which connections are closed at the end.
  std::chrono::milliseconds lastAnswers{3'000};    // Then the time for peers to answer the close message.

  Rate phoneMessages{20, 2};
  Rate agentMessages{60, 10};
  Rate registrations{20, 1.0 / 3};  // From one address, as are the next.
  Rate handshakes{60, 1};

  std::size_t pairings = 10'000;
  std::size_t revocations = 100'000;  // Kept; the oldest go first.
  std::size_t removedPhones = 64;     // Kept of a pairing; the oldest go first.
  std::chrono::hours purgeAfter{24 * 400};
  std::size_t snapshotBytes = std::size_t{256} * 1024 * 1024;  // Of all pairings together; the oldest go first.

  std::size_t connections = 20'000;
  std::size_t openRequests = 64;   // From one address: connections that are no WebSocket yet. Not of trusted proxies.
  std::size_t addresses = 65'536;  // Whose rates are kept. Those that come on top share one.
};

}  // namespace quillard::relayserver
