#pragma once

#include <chrono>
#include <cstddef>

#include "companion/relay/rules/TokenBucket.h"

namespace quillard::relayserver {

// The bounds of waking phones. The defaults are those of docs/relay-protocol.md.
struct PushLimits {
  std::size_t subscriptions = 8;                                  // Of one pairing; the oldest goes.
  std::size_t subscriptionBytes = std::size_t{64} * 1024 * 1024;  // Of all pairings, where they are kept in memory.
  std::size_t queued = 4096;           // Of all pairings: with their bodies some 26 MiB at most.
  std::size_t queuedOfPairing = 32;    // Those that are under way included.
  std::size_t queuedOfAddress = 2048;  // Of all pairings whose agents come from there.
  std::size_t connectionsOfHost = 8;
  std::size_t connectionsOfPairing = 6;  // Some of its push services may hang; others use the same host.
  std::size_t connectionsOfAddress = 32;
  std::size_t connections = 64;  // To all push services together.
  std::size_t rememberedRates = 20'000;

  Rate phone{10, 0.2};
  Rate pairing{32, 1};
  Rate subscriptionWrites{24, 1.0 / 60};  // Of a pairing.
  Rate host{1000, 200};                   // What comes on top waits for its turn.

  std::chrono::seconds attempt{15};      // Name, connection, TLS, request and answer.
  std::chrono::seconds lastAttempt{10};  // A push that has no more time than this, such as with a TTL of 0, has this.
  std::chrono::seconds firstPause{2};    // Then twice as long each time,
  std::chrono::seconds longestPause{60};
  std::chrono::seconds idleConnection{30};  // One that is not used is closed then.
  std::size_t answerBytes = 4096;           // Of a body, which nobody reads. A connection with more of it is closed.
};

}  // namespace quillard::relayserver
