#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "approvals/PendingApproval.h"
#include "approvals/ScanOutcome.h"
#include "foundation/Mutex.h"
#include "foundation/Uuid.h"
#include "platform/process/Clock.h"
#include "platform/process/Random.h"
#include "values/Time.h"

namespace quillard {

// The prompts that are on screen now, each under an identity that stays the same for as long as it stays up: not the
// fingerprint that detection gives it, but a random one, chosen when the fingerprint is first seen.
//
// Life of an identity: current -> (missed by scans, kept for the grace) -> gone; or current -> retained after an answer
// -> current again or gone. What is gone never comes back: a returning prompt is a new request.
//
// An identity means one appearance: the window in which its prompt was found first. The same content in another window
// is a new prompt, once its own window is not found any more; the old identity is gone then. As long as that is found,
// or could not be read, the other one waits: of identical prompts one is listed, always the same one. A record without
// a window, or beside one without, counts as in the same window.
//
// Nor does an identity outlive a time in its texts, or a number on its button, that jumps: when what runs in them has
// moved further between two scans than `PendingApproval::matchScore` allows, the newer one is a new prompt.
//
// Every operation is atomic; call from any thread, never from inside another operation. (One lock, held for the whole
// of an operation, serves as the serial queue; nothing is called out to while it is held but the clock and the random
// source.)
class ApprovalStore {
 public:
  // `staleAfter`: how long a prompt that scans no longer report is kept, and how long an answered one keeps its
  // identity. Seconds of the monotonic clock, so that a wall clock that is set drops no prompt and keeps none that has
  // gone; infinite: for ever.
  ApprovalStore(Seconds staleAfter, const platform::Clock& clock, platform::Random& random);

  // From now on, for what was missed before, too. An answered one keeps its identity for as long as it was to.
  void setStaleAfter(Seconds time);

  // Takes `scanned` as the outcome of one scan; each record's `id` is its fingerprint. A known prompt keeps its
  // identity and `detectedAt`, all else follows the newest scan; of two records with one fingerprint the later wins. A
  // prompt missing for longer than `staleAfter` is forgotten, identity and all. Of records with one fingerprint in
  // several windows, the one in the window of its identity is listed, else the first.
  void replace(const std::vector<PendingApproval>& scanned);

  // The same of a scan that says what it could not read. The prompts of processes that it could not read count as seen
  // by it, with their place and identity, and so do all when it could not see the desktop: nothing that was not read
  // ages. But for ten minutes at the longest from the first such scan in a row: then they age as missed ones, since
  // nothing vouches for them any more. How many current prompts the scan missed, which age now.
  std::size_t merge(const ScanOutcome& outcome);

  // See `merge`.
  static constexpr Seconds kLongestUnread{600};

  // Adds what a program asks (`PendingApproval::isAsked`), under the identity that it has. No scan touches it: it is
  // current until it is removed.
  void addAsked(const PendingApproval& asked);

  // Oldest `detectedAt` first; equal ones by identity, so that the order is the same from call to call.
  [[nodiscard]] std::vector<PendingApproval> all() const;

  // By the store's own identity. Absent when the prompt has gone meanwhile: an everyday answer, not a failure.
  [[nodiscard]] std::optional<PendingApproval> approval(const Uuid& id) const;

  // Removes an answered prompt. For `retention` (absent: `staleAfter`) the same fingerprint seen again gets the same
  // identity, so that a person is not asked twice under a new one; zero or less forgets it immediately.
  //
  // With it goes what else is kept of its window for the grace: the same prompt in another place, whose fingerprint is
  // another one, and what the window showed before it. What the window has come to show since stays.
  void remove(const Uuid& id, std::optional<Seconds> retention = std::nullopt);

  // Removes every current prompt of that kind, identities and all.
  void removeSuppressed(const Uuid& suppressionID);

 private:
  using Group = std::vector<const PendingApproval*>;  // Records with one fingerprint, in their order. Never empty.

  // One scan while it is merged.
  struct Merge {
    const ScanOutcome& outcome;
    Instant now;
    std::unordered_set<Uuid> seen;  // Identities that it has seen, or that count as seen by it.

    [[nodiscard]] bool isUnread(const PendingApproval& approval) const;
  };

  void add(const Group& group, Merge& merge) QUILLARD_REQUIRES(mutex);
  // Ends the identity of a current prompt of that fingerprint whose texts cannot have run to those of `scanned`.
  void endIfJumped(const PendingApproval& scanned) QUILLARD_REQUIRES(mutex);
  // `firstSeen`: its time, unless it is current.
  void put(const PendingApproval& scanned, Date firstSeen, Merge& merge) QUILLARD_REQUIRES(mutex);
  [[nodiscard]] const PendingApproval* current(const Uuid& fingerprint) const QUILLARD_REQUIRES(mutex);
  void keepUnread(Merge& merge) QUILLARD_REQUIRES(mutex);
  void sweepStale(Instant now) QUILLARD_REQUIRES(mutex);
  void forgetRestOf(const PendingApproval& removed) QUILLARD_REQUIRES(mutex);
  void forget(const Uuid& id) QUILLARD_REQUIRES(mutex);
  void purgeRetainedIdentityMappings(Instant expiredBefore) QUILLARD_REQUIRES(mutex);
  void removeFingerprintMapping(const Uuid& approvalID) QUILLARD_REQUIRES(mutex);

  mutable Mutex mutex;
  std::unordered_map<Uuid, PendingApproval> approvalsByID QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Instant> lastSeenByID QUILLARD_GUARDED_BY(mutex);     // Or last counted as seen.
  std::unordered_map<Uuid, Instant> unreadSinceByID QUILLARD_GUARDED_BY(mutex);  // While scans cannot read it.
  std::unordered_map<Uuid, Uuid> approvalIDByFingerprint QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Uuid> fingerprintByApprovalID QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Instant> retainedIdentityExpiresAtByApprovalID QUILLARD_GUARDED_BY(mutex);
  Seconds staleAfter QUILLARD_GUARDED_BY(mutex);
  const platform::Clock& clock;
  platform::Random& random;
};

}  // namespace quillard
