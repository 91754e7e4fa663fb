#include "approvals/ApprovalStore.h"

#include <algorithm>
#include <tuple>

namespace quillard {

ApprovalStore::ApprovalStore(Seconds staleAfter, const platform::Clock& clock, platform::Random& random)
    : staleAfter(staleAfter), clock(clock), random(random) {}

void ApprovalStore::replace(const std::vector<PendingApproval>& scanned) {
  const MutexLock lock{mutex};
  const Date now = clock.now();
  purgeRetainedIdentityMappings(now);
  for (const auto& record : scanned) add(record, now);
  sweepStale(now);
}

void ApprovalStore::add(const PendingApproval& scanned, Date now) {
  const Uuid fingerprint = scanned.id;
  const auto known = approvalIDByFingerprint.find(fingerprint);
  const Uuid id =
      known != approvalIDByFingerprint.end() ? known->second : Uuid::fromRandomBytes(random.identityBytes());
  const auto current = approvalsByID.find(id);
  const Date detectedAt = current != approvalsByID.end() ? current->second.detectedAt : scanned.detectedAt;
  approvalIDByFingerprint[fingerprint] = id;
  fingerprintByApprovalID[id] = fingerprint;
  approvalsByID[id] = scanned.replacingIdentity(id, detectedAt);
  lastSeenByID[id] = now;
  retainedIdentityExpiresAtByApprovalID.erase(id);
}

void ApprovalStore::sweepStale(Date now) {
  std::vector<Uuid> stale;
  for (const auto& [id, approval] : approvalsByID) {
    const auto lastSeen = lastSeenByID.find(id);
    const bool isFresh = lastSeen != lastSeenByID.end() && now - lastSeen->second <= staleAfter;
    if (!isFresh) stale.push_back(id);
  }
  for (const auto& id : stale) forget(id);
}

void ApprovalStore::forget(const Uuid& id) {
  approvalsByID.erase(id);
  lastSeenByID.erase(id);
  removeFingerprintMapping(id);
}

std::vector<PendingApproval> ApprovalStore::all() const {
  const MutexLock lock{mutex};
  std::vector<const PendingApproval*> ordered;
  ordered.reserve(approvalsByID.size());
  for (const auto& [id, approval] : approvalsByID) ordered.push_back(&approval);
  std::sort(ordered.begin(), ordered.end(), [](const PendingApproval* a, const PendingApproval* b) {
    return std::tie(a->detectedAt, a->id) < std::tie(b->detectedAt, b->id);
  });
  std::vector<PendingApproval> approvals;
  approvals.reserve(ordered.size());
  for (const auto* approval : ordered) approvals.push_back(*approval);
  return approvals;
}

std::optional<PendingApproval> ApprovalStore::approval(const Uuid& id) const {
  const MutexLock lock{mutex};
  const auto found = approvalsByID.find(id);
  if (found == approvalsByID.end()) return std::nullopt;
  return found->second;
}

void ApprovalStore::remove(const Uuid& id, std::optional<Seconds> retention) {
  const MutexLock lock{mutex};
  approvalsByID.erase(id);
  lastSeenByID.erase(id);
  const Seconds period = retention.value_or(staleAfter);
  if (period > Seconds::zero() && fingerprintByApprovalID.contains(id)) {
    retainedIdentityExpiresAtByApprovalID[id] = advanced(clock.now(), period);
  } else {
    removeFingerprintMapping(id);
  }
}

void ApprovalStore::removeSuppressed(const Uuid& suppressionID) {
  const MutexLock lock{mutex};
  std::vector<Uuid> suppressed;
  for (const auto& [id, approval] : approvalsByID) {
    if (approval.suppressionID == suppressionID) suppressed.push_back(id);
  }
  for (const auto& id : suppressed) forget(id);
}

void ApprovalStore::purgeRetainedIdentityMappings(Date expiredBefore) {
  std::vector<Uuid> expired;
  for (const auto& [id, expiresAt] : retainedIdentityExpiresAtByApprovalID) {
    if (expiresAt <= expiredBefore) expired.push_back(id);
  }
  for (const auto& id : expired) {
    if (approvalsByID.contains(id)) {
      retainedIdentityExpiresAtByApprovalID.erase(id);
    } else {
      removeFingerprintMapping(id);
    }
  }
}

void ApprovalStore::removeFingerprintMapping(const Uuid& approvalID) {
  retainedIdentityExpiresAtByApprovalID.erase(approvalID);
  const auto mapping = fingerprintByApprovalID.find(approvalID);
  if (mapping == fingerprintByApprovalID.end()) return;
  approvalIDByFingerprint.erase(mapping->second);
  fingerprintByApprovalID.erase(mapping);
}

}  // namespace quillard
