#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "approvals/PendingApproval.h"
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
// Every operation is atomic; call from any thread, never from inside another operation. (One lock, held for the whole
// of an operation, serves as the serial queue; nothing is called out to while it is held but the clock and the random
// source.)
class ApprovalStore {
 public:
  // `staleAfter`: how long a prompt that scans no longer report is kept, and how long an answered one keeps its
  // identity. Seconds of the wall clock; infinite: for ever.
  ApprovalStore(Seconds staleAfter, const platform::Clock& clock, platform::Random& random);

  // Takes `scanned` as the outcome of one scan; each record's `id` is its fingerprint. A known prompt keeps its
  // identity and `detectedAt`, all else follows the newest scan; of two records with one fingerprint the later wins. A
  // prompt missing for longer than `staleAfter` is forgotten, identity and all.
  void replace(const std::vector<PendingApproval>& scanned);

  // Oldest `detectedAt` first; equal ones by identity, so that the order is the same from call to call.
  [[nodiscard]] std::vector<PendingApproval> all() const;

  // By the store's own identity. Absent when the prompt has gone meanwhile: an everyday answer, not a failure.
  [[nodiscard]] std::optional<PendingApproval> approval(const Uuid& id) const;

  // Removes an answered prompt. For `retention` (absent: `staleAfter`) the same fingerprint seen again gets the same
  // identity, so that a person is not asked twice under a new one; zero or less forgets it immediately.
  void remove(const Uuid& id, std::optional<Seconds> retention = std::nullopt);

  // Removes every current prompt of that kind, identities and all.
  void removeSuppressed(const Uuid& suppressionID);

 private:
  void add(const PendingApproval& scanned, Date now) QUILLARD_REQUIRES(mutex);
  void sweepStale(Date now) QUILLARD_REQUIRES(mutex);
  void forget(const Uuid& id) QUILLARD_REQUIRES(mutex);
  void purgeRetainedIdentityMappings(Date expiredBefore) QUILLARD_REQUIRES(mutex);
  void removeFingerprintMapping(const Uuid& approvalID) QUILLARD_REQUIRES(mutex);

  mutable Mutex mutex;
  std::unordered_map<Uuid, PendingApproval> approvalsByID QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Date> lastSeenByID QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Uuid> approvalIDByFingerprint QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Uuid> fingerprintByApprovalID QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<Uuid, Date> retainedIdentityExpiresAtByApprovalID QUILLARD_GUARDED_BY(mutex);
  const Seconds staleAfter;
  const platform::Clock& clock;
  platform::Random& random;
};

}  // namespace quillard
