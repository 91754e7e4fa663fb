#include "companion/relay/rules/Pairings.h"

#include <algorithm>
#include <utility>

namespace quillard::relayserver {
namespace {

constexpr std::size_t kMostFailures = 16;

}  // namespace

Pairings::Pairings(PairingStore& store, const RelayLimits& limits)
    : store(store),
      limits(limits),
      newPairings(limits.newPairings, Instant{}),
      newPairingsFrom(limits.addressNewPairings, limits.addresses) {
  countAgain();
}

void Pairings::countAgain() {
  kept = store.count();
  unjoined = store.countUnjoined();
}

template <class Result, class Work>
Result Pairings::withStore(Result onFailure, Work work) {
  try {
    return work();
  } catch (const PairingStore::Failure& failure) {
    hasStoreWorked = false;
    if (failures.size() < kMostFailures) failures.push_back(failure.description);
    return onFailure;
  }
}

std::vector<std::string> Pairings::takeFailures() { return std::exchange(failures, {}); }

std::vector<std::string> Pairings::takeForgotten() { return std::exchange(forgotten, {}); }

void Pairings::probe() {
  hasStoreWorked = withStore(false, [&] {
    store.probe();
    return true;
  });
}

void Pairings::keepUsed(const std::string& pairingID, const PairingStore::Entry& entry, std::int64_t now) {
  if (now - entry.lastUsed < std::chrono::seconds(limits.usedStep).count()) return;
  withStore(false, [&] {
    store.markUsed(pairingID, now);
    return true;
  });
}

Pairings::Registration Pairings::registerToken(const std::string& pairingID, std::string_view token,
                                               const Registrant& registrant, Moment now) {
  if (unsavedRevocations.contains(pairingID)) return Registration::storeFailed;
  return withStore(Registration::storeFailed, [&] {
    const auto entry = store.find(pairingID);
    if (entry && !entry->token) return Registration::revoked;
    if (entry) {
      if (!areEqual(*entry->token, hashOf(token))) return Registration::otherToken;
      return registerComputer(pairingID, *entry, registrant, now.epochSeconds);
    }
    lastJoined.clear();
    if (!registrant.mayAdd) return Registration::notAllowed;
    if (registrant.computerKey && registrant.computerKey->empty()) return Registration::computerKeyWanted;
    if (!newPairingsFrom.take(registrant.from, now.instant)) return Registration::tooMany;
    if (!newPairings.take(now.instant)) return Registration::tooMany;
    if (!hasRoomForOne(now.epochSeconds)) return Registration::full;
    store.add(pairingID, hashOf(token), now.epochSeconds);
    if (registrant.computerKey) store.setComputerKey(pairingID, hashOf(*registrant.computerKey), now.epochSeconds);
    ++kept;
    ++unjoined;
    return Registration::taken;
  });
}

Pairings::Registration Pairings::registerComputer(const std::string& pairingID, const PairingStore::Entry& entry,
                                                  const Registrant& registrant, std::int64_t now) {
  const auto& key = registrant.computerKey;
  if (!key || (entry.computerKey && areEqual(*entry.computerKey, hashOf(*key)))) {
    keepUsed(pairingID, entry, now);
    return Registration::taken;
  }
  if (entry.computerKey) return Registration::otherComputer;
  if (key->empty()) return Registration::computerKeyWanted;
  store.setComputerKey(pairingID, hashOf(*key), now);
  return Registration::taken;
}

std::optional<bool> Pairings::isComputer(const std::string& pairingID, std::string_view key) {
  return withStore(std::optional<bool>(), [&] {
    const auto entry = store.find(pairingID);
    return std::optional(!entry || !entry->computerKey || areEqual(*entry->computerKey, hashOf(key)));
  });
}

bool Pairings::hasRoomForOne(std::int64_t now) {
  const bool isFull = kept >= limits.pairings || unjoined >= limits.unjoinedPairings;
  if (isFull && store.forgetOldestUnjoined()) countAgain();
  if (kept < limits.pairings) return true;
  auto leastUsed = store.forgetLeastUsed(now - std::chrono::seconds(limits.reclaimAfter).count());
  if (!leastUsed) return false;
  forgotten.push_back(std::move(*leastUsed));
  countAgain();
  return kept < limits.pairings;
}

void Pairings::noteUsed(const std::string& pairingID, std::int64_t now) {
  withStore(false, [&] {
    const auto entry = store.find(pairingID);
    if (entry && entry->token) keepUsed(pairingID, *entry, now);
    return true;
  });
}

void Pairings::didJoin(const std::string& pairingID, std::int64_t now) {
  // Right after it was found to be a member, as nearly always.
  if (pairingID == lastJoined) return;
  withStore(false, [&] {
    const auto entry = store.find(pairingID);
    if (!entry || !entry->token || entry->isJoined) return false;
    store.markJoined(pairingID, now);
    unjoined -= std::min<std::size_t>(unjoined, 1);
    return true;
  });
}

Pairings::Membership Pairings::membershipOf(const std::string& pairingID, std::string_view token, std::int64_t now) {
  lastJoined.clear();
  if (unsavedRevocations.contains(pairingID)) return Membership::storeFailed;
  return withStore(Membership::storeFailed, [&] {
    const auto entry = store.find(pairingID);
    if (entry && !entry->token) return Membership::revoked;
    const bool isEqual = areEqual(entry ? *entry->token : TokenHash{}, hashOf(token));
    if (!entry || !isEqual) return Membership::unauthenticated;
    keepUsed(pairingID, *entry, now);
    if (entry->isJoined) lastJoined = pairingID;
    return Membership::member;
  });
}

bool Pairings::revoke(const std::string& pairingID, std::int64_t now) {
  const bool isSaved = withStore(false, [&] {
    store.revoke(pairingID, now, limits.revocations);
    countAgain();
    return true;
  });
  if (isSaved) {
    unsavedRevocations.erase(pairingID);
  } else {
    unsavedRevocations.insert(pairingID);
  }
  return isSaved;
}

void Pairings::retryUnsaved(std::int64_t now) {
  while (!unsavedRevocations.empty()) {
    if (!revoke(std::string(*unsavedRevocations.begin()), now)) return;
  }
}

std::vector<std::string> Pairings::tidy(std::int64_t now) {
  retryUnsaved(now);
  return withStore(std::vector<std::string>{}, [&] {
    const auto longest = std::chrono::duration_cast<std::chrono::seconds>(limits.purgeAfter).count();
    const auto unjoinedFor = std::chrono::duration_cast<std::chrono::seconds>(limits.unjoinedAfter).count();
    auto purged = store.purge(now - longest, now - unjoinedFor);
    countAgain();
    return purged;
  });
}

}  // namespace quillard::relayserver
