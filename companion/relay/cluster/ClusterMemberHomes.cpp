#include <algorithm>
#include <utility>

#include "companion/relay/cluster/ClusterMember.h"

// Homes of rooms, and what is kept for good.
namespace quillard::relayserver {
namespace {

constexpr int kClaimAttempts = 4;

}  // namespace

void ClusterMember::transact(ClusterTransaction transaction, ClusterStore::Done<ClusterTransactionResult> done) {
  auto reads = transaction.reads;
  store.transact(std::move(transaction), [this, reads = std::move(reads),
                                          done = std::move(done)](std::optional<ClusterTransactionResult> result) {
    if (result) known.applyRead(reads, *result);
    done(std::move(result));
  });
}

void ClusterMember::refresh(const std::string& pairingID, std::function<void(bool)> done) {
  ClusterTransaction reading{.reads = {pairingKey(pairingID), revokedKey(pairingID), homeKey(pairingID)}};
  transact(std::move(reading), [done = std::move(done)](const std::optional<ClusterTransactionResult>& result) {
    done(result.has_value());
  });
}

// ---- Homes

bool ClusterMember::isLiving(const HomeRecord& home) const {
  const auto* relay = known.relay(home.relay);
  return relay && relay->record.run == home.run;
}

ClusterMember::Residence ClusterMember::residenceOf(const std::string& pairingID) const {
  const auto* home = known.home(pairingID);
  if (!home) return {};
  const auto& record = home->record;
  if (record.relay == options.relay) {
    return {.kind = record.run == options.run ? Residence::Kind::here : Residence::Kind::none};
  }
  if (!isLiving(record)) return {};
  return {
      .kind = Residence::Kind::elsewhere, .relay = record.relay, .address = known.relay(record.relay)->record.address};
}

void ClusterMember::claim(const std::string& pairingID, bool isByAgent, std::function<void(Claim)> done) {
  claimAgain(pairingID, isByAgent, kClaimAttempts, std::move(done));
}

void ClusterMember::claimAgain(const std::string& pairingID, bool isByAgent, int attempts,
                               std::function<void(Claim)> done) {
  const auto* home = known.home(pairingID);
  const HomeRecord wanted{.relay = options.relay, .run = options.run};
  using Kind = ClusterCondition::Kind;
  ClusterTransaction transaction{
      .conditions = {{.key = homeKey(pairingID), .kind = Kind::modifiedAt, .modified = home ? home->modified : 0},
                     {.key = revokedKey(pairingID), .kind = Kind::isAbsent},
                     {.key = pairingKey(pairingID), .kind = Kind::isThere},
                     {.key = relayKey(options.relay), .kind = Kind::isThere}}};
  // Its run may come back for as long as it has not been started anew.
  const bool mayComeBack = home && home->record.relay != options.relay && !known.relay(home->record.relay);
  if (!isByAgent && mayComeBack) {
    transaction.conditions.push_back({.key = relayKey(home->record.relay), .kind = Kind::isAbsent});
  }
  if (!home || home->record != wanted)
    transaction.changes.push_back({.key = homeKey(pairingID), .value = valueOf(wanted)});
  for (const auto& condition : transaction.conditions) transaction.reads.push_back(condition.key);
  transact(std::move(transaction), [this, pairingID, isByAgent, attempts,
                                    done = std::move(done)](const std::optional<ClusterTransactionResult>& result) {
    if (!result) return done(Claim::unknown);
    if (known.revokedAt(pairingID)) return done(Claim::revoked);
    if (!known.pairing(pairingID)) return done(Claim::noPairing);
    const auto residence = residenceOf(pairingID);
    if (residence.kind == Residence::Kind::here) return done(Claim::here);
    // What came later, on the watch, may have made another relay the home.
    if (result->succeeded || attempts <= 1) return done(Claim::unknown);
    if (!isByAgent && residence.kind == Residence::Kind::elsewhere) return done(Claim::elsewhere);
    claimAgain(pairingID, isByAgent, attempts - 1, done);
  });
}

// ---- Tombstones

void ClusterMember::revoke(const std::string& pairingID, std::int64_t at, std::function<void()> done) {
  if (known.revokedAt(pairingID)) return done();
  try {
    disk.keepRevocation(pairingID, at);
  } catch (const PairingStore::Failure& failure) {
    log.warn("A revocation is not on this relay's disk: " + failure.description);
  }
  auto& tombstone = tombstones.try_emplace(pairingID, Tombstone{.at = at}).first->second;
  // One that was found on the disk has waited for nobody so far.
  if (!tombstone.latest) tombstone.latest = latestTurn + options.times.tombstone;
  tombstone.done.push_back(std::move(done));
  sendTombstone(pairingID);
}

void ClusterMember::sendTombstone(const std::string& pairingID) {
  auto& tombstone = tombstones.at(pairingID);
  if (tombstone.isUnderWay) return;
  tombstone.isUnderWay = true;
  const auto key = revokedKey(pairingID);
  using Kind = ClusterChange::Kind;
  ClusterTransaction transaction{.changes = {{.key = key, .value = valueOf(TombstoneRecord{tombstone.at})},
                                             {.kind = Kind::erase, .key = pairingKey(pairingID)},
                                             {.kind = Kind::erase, .key = homeKey(pairingID)},
                                             {.kind = Kind::erasePrefix, .key = pushKey(pairingID)}},
                                 .reads = {key, pairingKey(pairingID), homeKey(pairingID)}};
  transact(std::move(transaction), [this, pairingID](const std::optional<ClusterTransactionResult>& result) {
    didSendTombstone(pairingID, result.has_value());
  });
}

void ClusterMember::didSendTombstone(const std::string& pairingID, bool isKept) {
  const auto found = tombstones.find(pairingID);
  if (found == tombstones.end()) return;
  found->second.isUnderWay = false;
  if (!isKept) return;
  const auto done = std::move(found->second.done);
  tombstones.erase(found);
  for (const auto& call : done) call();
}

void ClusterMember::sendTombstones() {
  constexpr std::chrono::seconds kInterval{1};
  constexpr int kMostAtOnce = 64;
  nextTombstones = latestTurn + kInterval;
  std::vector<std::string> pairingIDs;
  std::vector<std::function<void()>> late;
  for (auto& [pairingID, tombstone] : tombstones) {
    pairingIDs.push_back(pairingID);
    if (!tombstone.latest || latestTurn < *tombstone.latest) continue;
    for (auto& done : std::exchange(tombstone.done, {})) late.push_back(std::move(done));
  }
  int sent = 0;
  for (const auto& pairingID : pairingIDs) {
    if (sent++ < kMostAtOnce && tombstones.contains(pairingID)) sendTombstone(pairingID);
  }
  for (const auto& done : late) done();
}

// What a store that was restored from an old backup lacks, and the pairings of a relay that joins a cluster.
void ClusterMember::bringDiskIntoStore() {
  try {
    for (const auto& [pairingID, at] : disk.revocations()) {
      if (!known.revokedAt(pairingID)) tombstones.try_emplace(pairingID, Tombstone{.at = at});
    }
    earlierPairings = disk.pairings();
  } catch (const PairingStore::Failure& failure) {
    log.warn("This relay's disk could not be read: " + failure.description);
  }
  nextTombstones = {};
}

void ClusterMember::bringNextPairing() {
  isBringing = true;
  const auto& [pairingID, entry] = earlierPairings.back();
  const PairingRecord record{.token = entry.token.value_or(TokenHash{}),
                             .lastUsed = entry.lastUsed,
                             .isJoined = entry.isJoined,
                             .computerKey = entry.computerKey};
  using Kind = ClusterCondition::Kind;
  transact({.conditions = {{.key = pairingKey(pairingID), .kind = Kind::isAbsent},
                           {.key = revokedKey(pairingID), .kind = Kind::isAbsent}},
            .changes = {{.key = pairingKey(pairingID), .value = valueOf(record)}}},
           [this](const std::optional<ClusterTransactionResult>& result) {
             isBringing = false;
             if (!result || earlierPairings.empty()) return;
             earlierPairings.pop_back();
             if (!earlierPairings.empty()) return bringNextPairing();
             try {
               disk.forgetPairings();
               log.warn("The pairings of this relay's database are the cluster's now.");
             } catch (const PairingStore::Failure& failure) {
               log.warn("This relay's disk could not be changed: " + failure.description);
             }
           });
}

}  // namespace quillard::relayserver
