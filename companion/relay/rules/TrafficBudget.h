#pragma once

#include <cstddef>

#include "companion/relay/rules/PrefixBuckets.h"
#include "companion/relay/rules/RelayLimits.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// What was done with one message.
struct TrafficWork {
  std::size_t received = 0;  // Bytes of the message,
  std::size_t sealed = 0;    // and how many of them are sealed, which are quick to check.
  std::size_t sent = 0;      // Bytes of all texts that were sent because of it,
  std::size_t texts = 0;     // and how many there were.
};

struct TrafficCost {
  double bytes = 0;
  double seconds = 0;  // Of the relay's only thread, by measured figures: the same for the same work.
};
[[nodiscard]] TrafficCost costOf(const TrafficWork& work);

// The two buckets of one pairing.
struct PairingTraffic {
  TokenBucket bytes;
  TokenBucket seconds;
};

// How long a client has to wait before its next message is read. A message that was read is never refused for its cost;
// it is paid for afterwards: by its pairing, by each prefix of its client's address, and by all together.
//
// When all together have spent what the relay has for messages, those pairings wait that have spent more than half of
// their own; the others only when that does not help. So handshakes always have the rest of the thread for themselves.
class TrafficBudget {
 public:
  // `limits` outlives it.
  TrafficBudget(const RelayLimits& limits, Instant now);

  [[nodiscard]] PairingTraffic makePairing(Instant now) const;
  // The wait, `limits.longestWait` at most.
  [[nodiscard]] Duration spend(PairingTraffic& pairing, const RatePrefixes& from, const TrafficWork& work, Instant now);

 private:
  [[nodiscard]] Duration waitForAll(const PairingTraffic& pairing, Instant now) const;

  const RelayLimits& limits;
  PrefixBuckets bytesFrom;
  PrefixBuckets secondsFrom;
  TokenBucket allBytes;
  TokenBucket allSeconds;
};

}  // namespace quillard::relayserver
