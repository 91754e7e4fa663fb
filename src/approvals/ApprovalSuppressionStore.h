#pragma once

#include <unordered_set>

#include "foundation/Mutex.h"
#include "foundation/Uuid.h"
#include "platform/storage/UserDefaults.h"

namespace quillard {

// The kinds of prompt that the user muted on the phone, kept from run to run in the user's settings as a list of UUID
// texts in ascending order. Every operation is atomic; any thread.
class ApprovalSuppressionStore {
 public:
  static constexpr std::string_view key = "quillard.suppressed-approval-ids";

  // Reads what is stored; entries that are no UUID are skipped, and dropped by the next write. `defaults` outlives
  // this.
  explicit ApprovalSuppressionStore(platform::UserDefaults& defaults);

  void suppress(const Uuid& id);
  void unsuppress(const Uuid& id);
  [[nodiscard]] bool contains(const Uuid& id) const;

 private:
  // With the lock held, so that no caller reads a set that disagrees with the stored list.
  void writeBack() QUILLARD_REQUIRES(mutex);

  platform::UserDefaults& defaults;
  mutable Mutex mutex;
  std::unordered_set<Uuid> suppressedIDs QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard
