#pragma once

#include <cstddef>
#include <cstdint>

#include "companion/relay/rules/PrefixBuckets.h"
#include "companion/relay/rules/RelayLimits.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// What was done because of what one client has sent.
struct TrafficWork {
  std::size_t messages = 0;  // That are whole.
  std::size_t received = 0;  // Bytes of messages,
  std::size_t sealed = 0;    // and how many of them are sealed, which are quick to check.
  std::size_t sent = 0;      // Bytes of all texts that were sent because of it,
  std::size_t texts = 0;     // and how many there were.
  std::size_t reads = 0;     // How often something came.
  std::size_t parts = 0;     // Pieces of messages that are not whole yet.
  std::size_t controls = 0;  // Pings and pongs; a ping is answered.
  std::size_t framing = 0;   // Bytes that were of no message: the heads of frames, pings, pongs.
  std::size_t commits = 0;   // Changes that had to be on the disk before anything else was done,
  double waited = 0;         // and how many seconds that took, where it is known.

  TrafficWork& operator+=(const TrafficWork& more);
};

struct TrafficCost {
  double bytes = 0;
  double seconds = 0;  // Of the relay's only thread: by fixed figures, but for a disk that is slower than these.
};
[[nodiscard]] TrafficCost costOf(const TrafficWork& work);

// What a client has done that is not paid for: too little to be worth it, or about to be paid with the message that it
// belongs to.
class UnpaidWork {
 public:
  // What has come, and of it, what belonged to a message. The rest counts as framing once it cannot be the beginning of
  // something that is still to be told.
  void didRead(std::size_t bytes);
  void didReceive(std::size_t bytesOfMessage) { unexplained -= static_cast<std::int64_t>(bytesOfMessage); }
  void add(const TrafficWork& more) { work += more; }

  [[nodiscard]] bool isWorthPaying() const;
  // All of it, which is paid then.
  [[nodiscard]] TrafficWork take();

 private:
  TrafficWork work;
  std::int64_t unexplained = 0;  // Bytes that came, less those of messages.
};

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
