#pragma once

#include <string>
#include <vector>

#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/RelayMetrics.h"

namespace quillard::relayserver {

// When the store of pairings is written, tidied and tried: what is in use is noted, what was not used for long goes,
// and a disk that is full is noticed before an agent meets it. Takes time as a parameter. One thread.
class StoreCare {
 public:
  static constexpr std::chrono::minutes kTidying{5};
  static constexpr std::chrono::seconds kRetry{5};
  // How often it is tried whether the store can be written; the second while it cannot be used.
  static constexpr std::chrono::minutes kProbing{1};
  static constexpr std::chrono::seconds kProbingOfFailed{5};

  // All of it outlives this.
  struct Dependencies {
    Pairings& pairings;
    PairingRooms& rooms;
    RelayMetrics& metrics;
    EventLog& log;
  };
  explicit StoreCare(const Dependencies& dependencies) : dependencies(dependencies) {}

  // To be called a few times a second. `isServing`: the store is there to be tidied and tried; that of one of several
  // relays is not before it is a part of its cluster.
  void tick(Moment now, bool isServing);

 private:
  void tidy(Moment now);
  void probe(Instant now);

  const Dependencies dependencies;
  Instant nextTidying{};
  Instant nextRetry{};
  Instant nextProbe{};
  Instant nextProbeOfFailed{};
};

}  // namespace quillard::relayserver
