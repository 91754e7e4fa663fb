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

  std::chrono::milliseconds message{60'000};    // From the first byte of a message to its last.
  std::chrono::milliseconds handshake{10'000};  // TLS included.
  std::chrono::milliseconds ping{20'000};       // Also how often phones get their computer's status.
  std::chrono::milliseconds idle{60'000};
  std::chrono::milliseconds closeStagger{10'000};  // The longest time over which connections are closed at the end.
  std::chrono::milliseconds lastAnswers{3'000};    // Then the time for peers to answer the close message.

  Rate phoneMessages{20, 2};
  Rate agentMessages{60, 10};
  Rate registrations{20, 1.0 / 3};  // From one address, as are the next; wider networks have more: PrefixBuckets.
  Rate handshakes{60, 1};
  Rate addressNewPairings{100, 1.0 / 60};
  Rate addressNewConnections{200, 10};  // Others are refused.
  Rate newPairings{200, 50};            // From all addresses: each is written to the disk.
  Rate newConnections{2'000, 500};      // From all addresses. What comes on top waits for its turn.

  // What messages may cost: bytes, and seconds of the relay's thread. See TrafficBudget.
  Rate pairingBytes{16.0 * 1024 * 1024, 1024.0 * 1024};
  Rate pairingSeconds{0.5, 0.02};
  Rate addressBytes{128.0 * 1024 * 1024, 8.0 * 1024 * 1024};
  Rate addressSeconds{1, 0.1};
  Rate allBytes{512.0 * 1024 * 1024, 256.0 * 1024 * 1024};
  Rate allSeconds{0.5, 0.6};
  std::chrono::milliseconds longestWait{10'000};  // Less than what a client takes for a dead relay.

  std::size_t pairings = 10'000;
  std::size_t revocations = 100'000;  // Kept; the oldest go first.
  std::chrono::hours purgeAfter{24 * 400};
  std::chrono::hours reclaimAfter{
      24};                          // Where all places are taken, one not used for so long makes room for a new one.
  std::chrono::hours usedStep{12};  // When a pairing was last used need not be known better than this.
  std::size_t unjoinedPairings = 1'000;         // Registered, but no client has joined yet; the oldest go first.
  std::chrono::minutes unjoinedAfter{50};       // Forgotten then.
  std::chrono::minutes roomAfter{10};           // A room without peers and snapshot is dropped then,
  std::chrono::minutes snapshotAfter{24 * 60};  // and one with a snapshot then.
  std::size_t snapshotBytes = std::size_t{256} * 1024 * 1024;  // Of all pairings together; the oldest go first.
  // Of all that clients can make the relay keep, snapshots included: see MemoryBudget.
  std::size_t memoryBytes = std::size_t{512} * 1024 * 1024;

  std::size_t connections = 20'000;
  std::size_t openRequests = 64;  // From one address: connections that are no WebSocket yet. Not of trusted proxies.
  std::size_t addressWebSockets = 1'000;  // From one address; as of open requests, wider networks have more.
  std::size_t addresses = 65'536;         // Whose rates are kept. Those that come on top share one.
};

}  // namespace quillard::relayserver
