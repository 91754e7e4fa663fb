#include "companion/relay/cluster/ClusterPairingStore.h"

#include <algorithm>
#include <limits>

namespace quillard::relayserver {
namespace {

constexpr std::size_t kMostPurgedAtOnce = 1'000;
constexpr std::size_t kCandidates = 16;  // For making room: some of them may be under way already.

}  // namespace

void ClusterPairingStore::check() const {
  if (!isFresh()) throw Failure{"the cluster's store is not reached."};
}

std::optional<PairingStore::Entry> ClusterPairingStore::find(const std::string& pairingID) {
  check();
  const auto& mirror = member.mirror();
  if (const auto at = mirror.revokedAt(pairingID)) return Entry{.token = std::nullopt, .lastUsed = *at};
  if (member.isUnsaved(pairingID)) return Entry{};
  const auto* found = mirror.pairing(pairingID);
  if (!found) return std::nullopt;
  const auto& record = found->record;
  return Entry{.token = record.token,
               .lastUsed = record.lastUsed,
               .isJoined = record.isJoined,
               .computerKey = record.computerKey};
}

void ClusterPairingStore::add(const std::string& pairingID, const TokenHash& token, std::int64_t now) {
  check();
  added.emplace(pairingID, PairingRecord{.token = token, .lastUsed = now});
}

void ClusterPairingStore::commit(std::function<void(Commit)> done) {
  const auto leaving = std::exchange(makingRoom, {});
  if (const auto setting = std::exchange(keyed, std::nullopt)) {
    return commitKey(setting->first, setting->second, std::move(done));
  }
  if (!added) return done(Commit::kept);
  const auto adding = *std::exchange(added, std::nullopt);
  const std::string& pairingID = adding.first;
  using Kind = ClusterCondition::Kind;
  ClusterTransaction transaction{.conditions = {{.key = pairingKey(pairingID), .kind = Kind::isAbsent},
                                                {.key = revokedKey(pairingID), .kind = Kind::isAbsent}},
                                 .changes = {{.key = pairingKey(pairingID), .value = valueOf(adding.second)}}};
  for (const auto& leaver : leaving) addErasing(leaver, transaction);
  for (const auto& condition : transaction.conditions) transaction.reads.push_back(condition.key);
  member.transact(std::move(transaction), [this, pairingID, token = adding.second.token, done = std::move(done)](
                                              const std::optional<ClusterTransactionResult>& result) {
    if (!result) return done(Commit::unknown);
    // Where it was done twice, or at another relay with the same token, it is there as well.
    const auto* there = member.mirror().pairing(pairingID);
    done(there && areEqual(there->record.token, token) ? Commit::kept : Commit::changed);
  });
}

void ClusterPairingStore::commitKey(const std::string& pairingID, const PairingRecord& record,
                                    std::function<void(Commit)> done) {
  write(pairingID, record, [this, pairingID, key = *record.computerKey, done = std::move(done)](bool isKnown) {
    if (!isKnown) return done(Commit::unknown);
    // Another relay may have been shown another key in the same moment.
    const auto* there = member.mirror().pairing(pairingID);
    const bool isThere = there && there->record.computerKey && areEqual(*there->record.computerKey, key);
    done(isThere ? Commit::kept : Commit::changed);
  });
}

// Unless it was changed meanwhile.
void ClusterPairingStore::addErasing(const std::string& pairingID, ClusterTransaction& transaction) const {
  const auto* present = member.mirror().pairing(pairingID);
  using Kind = ClusterChange::Kind;
  transaction.conditions.push_back({.key = pairingKey(pairingID),
                                    .kind = ClusterCondition::Kind::modifiedAt,
                                    .modified = present ? present->modified : 0});
  transaction.changes.push_back({.kind = Kind::erase, .key = pairingKey(pairingID)});
  transaction.changes.push_back({.kind = Kind::erase, .key = homeKey(pairingID)});
  transaction.changes.push_back({.kind = Kind::erasePrefix, .key = pushKey(pairingID)});
}

void ClusterPairingStore::write(const std::string& pairingID, const std::optional<PairingRecord>& record,
                                std::function<void(bool isKnown)> done) {
  const auto* present = member.mirror().pairing(pairingID);
  if (!present) return done(true);
  ClusterTransaction transaction{.reads = {pairingKey(pairingID)}};
  if (record) {
    transaction.conditions.push_back(
        {.key = pairingKey(pairingID), .kind = ClusterCondition::Kind::modifiedAt, .modified = present->modified});
    transaction.changes.push_back({.key = pairingKey(pairingID), .value = valueOf(*record)});
  } else {
    addErasing(pairingID, transaction);
  }
  auto& underWay = record ? beingWritten : beingForgotten;
  underWay.insert(pairingID);
  member.transact(std::move(transaction), [&underWay, pairingID, done = std::move(done)](
                                              const std::optional<ClusterTransactionResult>& result) {
    underWay.erase(pairingID);
    done(result.has_value());
  });
}

void ClusterPairingStore::mark(const std::string& pairingID, std::int64_t now, bool isJoined) {
  check();
  const auto* present = member.mirror().pairing(pairingID);
  if (!present || beingWritten.contains(pairingID)) return;
  auto record = present->record;
  record.lastUsed = now;
  record.isJoined = record.isJoined || isJoined;
  write(pairingID, record);
}

void ClusterPairingStore::setComputerKey(const std::string& pairingID, const TokenHash& key, std::int64_t now) {
  check();
  if (added && added->first == pairingID) {
    added->second.computerKey = key;
    return;
  }
  const auto* present = member.mirror().pairing(pairingID);
  // Who registers tries again.
  if (!present || beingWritten.contains(pairingID)) throw Failure{"the pairing is being written."};
  auto record = present->record;
  record.lastUsed = now;
  if (record.computerKey) return;
  record.computerKey = key;
  keyed.emplace(pairingID, record);
}

void ClusterPairingStore::markUsed(const std::string& pairingID, std::int64_t now) { mark(pairingID, now, false); }

void ClusterPairingStore::markJoined(const std::string& pairingID, std::int64_t now) { mark(pairingID, now, true); }

void ClusterPairingStore::revoke(const std::string& pairingID, std::int64_t now, std::size_t) {
  member.revoke(pairingID, now, [] {});
}

std::vector<std::string> ClusterPairingStore::purge(std::int64_t usedBefore, std::int64_t unjoinedBefore) {
  check();
  const auto& mirror = member.mirror();
  auto names = mirror.leastUsed(true, usedBefore, kMostPurgedAtOnce);
  const auto others = mirror.leastUsed(false, std::max(usedBefore, unjoinedBefore), kMostPurgedAtOnce);
  names.insert(names.end(), others.begin(), others.end());
  for (const auto& pairingID : names) write(pairingID, std::nullopt);
  purgeTombstones();
  return names;
}

void ClusterPairingStore::purgeTombstones() {
  const auto erase = [this](const std::string& key) {
    member.transact({.changes = {{.kind = ClusterChange::Kind::erase, .key = key}}},
                    [](const std::optional<ClusterTransactionResult>&) {});
  };
  const auto& mirror = member.mirror();
  for (const auto& pairingID : mirror.oldestRevoked(limits.revocations)) erase(revokedKey(pairingID));
}

bool ClusterPairingStore::makeRoomWith(const std::vector<std::string>& candidates) {
  const auto found = std::find_if(candidates.begin(), candidates.end(), [this](const std::string& pairingID) {
    return !beingForgotten.contains(pairingID) && !makingRoom.contains(pairingID);
  });
  if (found == candidates.end()) return false;
  makingRoom.insert(*found);
  return true;
}

bool ClusterPairingStore::forgetOldestUnjoined() {
  check();
  return makeRoomWith(member.mirror().leastUsed(false, std::numeric_limits<std::int64_t>::max(), kCandidates));
}

std::optional<std::string> ClusterPairingStore::forgetLeastUsed(std::int64_t usedBefore) {
  check();
  for (const bool isJoined : {false, true}) {
    for (const auto& pairingID : member.mirror().leastUsed(isJoined, usedBefore, kCandidates)) {
      if (makeRoomWith({pairingID})) return pairingID;
    }
  }
  return std::nullopt;
}

std::size_t ClusterPairingStore::count() {
  // Before the mirror is filled, there is nothing to be counted.
  const auto kept = member.mirror().pairingCount();
  return kept - std::min(kept, beingForgotten.size() + makingRoom.size());
}

std::size_t ClusterPairingStore::countUnjoined() {
  const auto unjoined = member.mirror().unjoinedCount();
  return unjoined - std::min(unjoined, beingForgotten.size() + makingRoom.size());
}

}  // namespace quillard::relayserver
