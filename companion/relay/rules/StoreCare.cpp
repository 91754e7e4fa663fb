#include "companion/relay/rules/StoreCare.h"

namespace quillard::relayserver {

void StoreCare::tick(Moment now, bool isServing) {
  auto& pairings = dependencies.pairings;
  for (const auto& pairingID : dependencies.rooms.takePairingsInUse()) pairings.noteUsed(pairingID, now.epochSeconds);
  if (isServing && now.instant >= nextTidying) tidy(now);
  if (isServing) probe(now.instant);
  if (now.instant >= nextRetry) {
    nextRetry = now.instant + kRetry;
    pairings.retryUnsaved(now.epochSeconds);
  }
  for (const auto& failure : pairings.takeFailures()) {
    ++dependencies.metrics.storeFailures;
    dependencies.log.warn("The database could not be used: " + failure);
  }
}

void StoreCare::tidy(Moment now) {
  nextTidying = now.instant + kTidying;
  const auto purged = dependencies.pairings.tidy(now.epochSeconds);
  if (!purged.empty()) {
    dependencies.log.note("Forgot pairings that were not used for long: " + std::to_string(purged.size()));
  }
  dependencies.rooms.forget(purged);
}

void StoreCare::probe(Instant now) {
  if (now < nextProbe && dependencies.pairings.isStoreFine()) return;
  if (now < nextProbeOfFailed) return;
  nextProbe = now + kProbing;
  nextProbeOfFailed = now + kProbingOfFailed;
  dependencies.pairings.probe();
}

}  // namespace quillard::relayserver
