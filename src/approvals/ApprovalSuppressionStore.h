#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "foundation/Mutex.h"
#include "foundation/Uuid.h"
#include "platform/storage/UserDefaults.h"

namespace quillard {

// The kinds of prompt that the user muted on the phone, kept from run to run in the user's settings as a list of UUID
// texts in ascending order. Bounded: of more than `kMost`, the one that was muted first goes. Every operation is
// atomic; any thread.
class ApprovalSuppressionStore {
 public:
  static constexpr std::string_view key = "quillard.suppressed-approval-ids";
  static constexpr std::size_t kMost = 1000;

  // Reads what is stored, `kMost` at most; entries that are no UUID are skipped, and dropped by the next write. What
  // was muted in which order is not stored: all that is read counts as older than what comes. `defaults` outlives this.
  explicit ApprovalSuppressionStore(platform::UserDefaults& defaults);

  // Unmutes all. An agent does so once, when it starts: identifiers are fingerprints under a key that each run draws
  // anew (`StableIDs`), so those of earlier runs can never match, and would only pile up.
  void forgetEarlierRuns();

  // Muted again, it counts as muted last.
  void suppress(const Uuid& id);
  void unsuppress(const Uuid& id);
  [[nodiscard]] bool contains(const Uuid& id) const;

 private:
  // With the lock held, so that no caller reads a set that disagrees with the stored list.
  void writeBack() QUILLARD_REQUIRES(mutex);

  platform::UserDefaults& defaults;
  mutable Mutex mutex;
  std::unordered_set<Uuid> suppressedIDs QUILLARD_GUARDED_BY(mutex);
  std::vector<Uuid> idsByAge QUILLARD_GUARDED_BY(mutex);  // The same, oldest first.
};

}  // namespace quillard
