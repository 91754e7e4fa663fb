#include "approvals/ApprovalStore.h"

#include <algorithm>
#include <tuple>

namespace quillard {

namespace {

bool isInSameWindow(const PendingApproval& a, const PendingApproval& b) {
  return !a.window || !b.window || *a.window == *b.window;
}

// By fingerprint, in the order in which these were met.
std::vector<std::vector<const PendingApproval*>> groups(const ScanOutcome& outcome) {
  std::vector<std::vector<const PendingApproval*>> all;
  std::unordered_map<Uuid, std::size_t> places;
  for (const auto* list : {&outcome.approvals, &outcome.twins}) {
    for (const auto& record : *list) {
      const auto [place, isNew] = places.emplace(record.id, all.size());
      if (isNew) all.emplace_back();
      all[place->second].push_back(&record);
    }
  }
  return all;
}

}  // namespace

ApprovalStore::ApprovalStore(Seconds staleAfter, const platform::Clock& clock, platform::Random& random)
    : staleAfter(staleAfter), clock(clock), random(random) {}

void ApprovalStore::replace(const std::vector<PendingApproval>& scanned) { (void)merge({.approvals = scanned}); }

std::size_t ApprovalStore::merge(const ScanOutcome& outcome) {
  const MutexLock lock{mutex};
  Merge merge{outcome, clock.monotonicNow(), {}};
  purgeRetainedIdentityMappings(merge.now);
  if (!outcome.failure) {
    for (const auto& group : groups(outcome)) add(group, merge);
  }
  keepUnread(merge);
  sweepStale(merge.now);
  return static_cast<std::size_t>(std::count_if(approvalsByID.begin(), approvalsByID.end(),
                                                [&](const auto& entry) { return !merge.seen.contains(entry.first); }));
}

void ApprovalStore::addAsked(const PendingApproval& asked) {
  const MutexLock lock{mutex};
  approvalsByID.insert_or_assign(asked.id, asked);
  lastSeenByID.insert_or_assign(asked.id, clock.monotonicNow());
}

bool ApprovalStore::Merge::isUnread(const PendingApproval& approval) const {
  const auto& silent = outcome.unreadProcesses;
  return outcome.failure || std::find(silent.begin(), silent.end(), approval.processIdentifier) != silent.end();
}

// A prompt keeps its identity while its own window shows it, or may show it.
void ApprovalStore::add(const Group& group, Merge& merge) {
  const auto* const known = current(group.front()->id);
  const PendingApproval* chosen = nullptr;
  for (const auto* candidate : group) {
    if (known ? isInSameWindow(*known, *candidate) : !chosen || !candidate->window) chosen = candidate;
  }
  if (chosen) return put(*chosen, group.front()->detectedAt, merge);
  if (merge.isUnread(*known)) return;
  forget(Uuid{known->id});
  put(*group.front(), group.front()->detectedAt, merge);
}

void ApprovalStore::keepUnread(Merge& merge) {
  for (const auto& [id, approval] : approvalsByID) {
    if (approval.isAsked) merge.seen.insert(id);
    if (merge.seen.contains(id)) continue;
    if (!merge.isUnread(approval)) {
      unreadSinceByID.erase(id);
      continue;
    }
    const Instant since = unreadSinceByID.emplace(id, merge.now).first->second;
    if (merge.now - since > kLongestUnread) continue;
    lastSeenByID[id] = merge.now;
    merge.seen.insert(id);
  }
}

const PendingApproval* ApprovalStore::current(const Uuid& fingerprint) const {
  const auto id = approvalIDByFingerprint.find(fingerprint);
  const auto found = id == approvalIDByFingerprint.end() ? approvalsByID.end() : approvalsByID.find(id->second);
  return found == approvalsByID.end() ? nullptr : &found->second;
}

// What a decision was made on is not pressed in other words: the times in it have moved by more than they can have run.
void ApprovalStore::endIfJumped(const PendingApproval& scanned) {
  const auto* const known = current(scanned.id);
  if (known && !(known->matchScore(scanned) > 0)) forget(Uuid{known->id});
}

void ApprovalStore::put(const PendingApproval& scanned, Date firstSeen, Merge& merge) {
  const Uuid fingerprint = scanned.id;
  endIfJumped(scanned);
  const auto known = approvalIDByFingerprint.find(fingerprint);
  const Uuid id =
      known != approvalIDByFingerprint.end() ? known->second : Uuid::fromRandomBytes(random.identityBytes());
  const auto current = approvalsByID.find(id);
  const Date detectedAt = current != approvalsByID.end() ? current->second.detectedAt : firstSeen;
  approvalIDByFingerprint[fingerprint] = id;
  fingerprintByApprovalID[id] = fingerprint;
  approvalsByID[id] = scanned.replacingIdentity(id, detectedAt);
  lastSeenByID[id] = merge.now;
  unreadSinceByID.erase(id);
  merge.seen.insert(id);
  retainedIdentityExpiresAtByApprovalID.erase(id);
}

void ApprovalStore::sweepStale(Instant now) {
  std::vector<Uuid> stale;
  for (const auto& [id, approval] : approvalsByID) {
    const auto lastSeen = lastSeenByID.find(id);
    const bool isFresh = lastSeen != lastSeenByID.end() && now - lastSeen->second <= staleAfter;
    if (!isFresh && !approval.isAsked) stale.push_back(id);
  }
  for (const auto& id : stale) forget(id);
}

void ApprovalStore::forget(const Uuid& id) {
  approvalsByID.erase(id);
  lastSeenByID.erase(id);
  unreadSinceByID.erase(id);
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

void ApprovalStore::setStaleAfter(Seconds time) {
  const MutexLock lock{mutex};
  staleAfter = time;
}

void ApprovalStore::remove(const Uuid& id, std::optional<Seconds> retention) {
  const MutexLock lock{mutex};
  if (const auto removed = approvalsByID.find(id); removed != approvalsByID.end()) forgetRestOf(removed->second);
  approvalsByID.erase(id);
  lastSeenByID.erase(id);
  unreadSinceByID.erase(id);
  const Seconds period = retention.value_or(staleAfter);
  if (period > Seconds::zero() && fingerprintByApprovalID.contains(id)) {
    retainedIdentityExpiresAtByApprovalID[id] = advanced(clock.monotonicNow(), period);
  } else {
    removeFingerprintMapping(id);
  }
}

void ApprovalStore::forgetRestOf(const PendingApproval& removed) {
  const Instant seen = lastSeenByID.at(removed.id);
  std::vector<Uuid> over;
  for (const auto& [id, approval] : approvalsByID) {
    const bool isInItsWindow = approval.window && removed.window && *approval.window == *removed.window;
    const bool isOver = lastSeenByID.at(id) < seen || removed.matchScore(approval) > 0;
    if (id != removed.id && isInItsWindow && isOver) over.push_back(id);
  }
  for (const auto& id : over) forget(id);
}

void ApprovalStore::removeSuppressed(const Uuid& suppressionID) {
  const MutexLock lock{mutex};
  std::vector<Uuid> suppressed;
  for (const auto& [id, approval] : approvalsByID) {
    if (approval.suppressionID == suppressionID) suppressed.push_back(id);
  }
  for (const auto& id : suppressed) forget(id);
}

void ApprovalStore::purgeRetainedIdentityMappings(Instant expiredBefore) {
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
