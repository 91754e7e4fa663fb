#include <algorithm>
#include <utility>

#include "companion/relay/cluster/ClusterPairingStore.h"

// What of pushes the cluster keeps.
namespace quillard::relayserver {
namespace {

// Other relays write of the same phone when it has just moved from one to the other.
constexpr int kPushAttempts = 4;

}  // namespace

std::optional<std::string> ClusterPairingStore::pushSecret() {
  check();
  return member.mirror().pushSecret();
}

// Of several relays that start at the same time, one is first, and the others read its secret.
void ClusterPairingStore::offerPushSecret(const std::string& secret) {
  check();
  ClusterTransaction transaction{
      .conditions = {{.key = pushSecretKey(), .kind = ClusterCondition::Kind::isAbsent}},
      .changes = {{.key = pushSecretKey(), .value = valueOf(PushSecretRecord{.secret = secret})}},
      .reads = {pushSecretKey()}};
  member.transact(std::move(transaction), [](const std::optional<ClusterTransactionResult>&) {});
}

std::vector<PushSubscription> ClusterPairingStore::pushSubscriptions(const std::string& pairingID) {
  check();
  auto all = member.mirror().pushSubscriptions(pairingID);
  for (auto at = unsavedPushes.lower_bound({pairingID, ""}); at != unsavedPushes.end() && at->first.first == pairingID;
       ++at) {
    std::erase_if(all, [&](const PushSubscription& one) { return one.deviceID == at->first.second; });
    if (at->second.subscription) all.push_back(*at->second.subscription);
  }
  std::stable_sort(all.begin(), all.end(), [](const auto& one, const auto& other) { return one.at < other.at; });
  return all;
}

void ClusterPairingStore::keepPushSubscription(const std::string& pairingID, const PushSubscription& subscription,
                                               std::size_t most) {
  const auto all = pushSubscriptions(pairingID);
  if (!member.mirror().pairing(pairingID)) return;
  const auto others = std::count_if(all.begin(), all.end(),
                                    [&](const PushSubscription& one) { return one.deviceID != subscription.deviceID; });
  auto excess = others + 1 - static_cast<std::ptrdiff_t>(most);
  for (const auto& one : all) {
    if (excess <= 0) break;
    if (one.deviceID == subscription.deviceID) continue;
    writePush(pairingID, one.deviceID, std::nullopt);
    --excess;
  }
  writePush(pairingID, subscription.deviceID, subscription);
}

void ClusterPairingStore::erasePushSubscriptions(const std::string& pairingID, const std::string& deviceID) {
  for (const auto& one : pushSubscriptions(pairingID)) {
    if (deviceID.empty() || one.deviceID == deviceID) writePush(pairingID, one.deviceID, std::nullopt);
  }
}

void ClusterPairingStore::writePush(const std::string& pairingID, const std::string& deviceID,
                                    const std::optional<PushSubscription>& subscription) {
  const std::pair name{pairingID, deviceID};
  auto& unsaved = unsavedPushes[name];
  unsaved.subscription = subscription;
  unsaved.number = ++pushWrites;  // Whoever waited for what was written before waits for this.
  if (std::exchange(unsaved.isUnderWay, true)) return;
  sendPush(name, member.mirror().pushRevision(pairingID, deviceID), kPushAttempts);
}

// Of a phone one at a time, and in the place of what is there: what the engine does late, or twice, replaces nothing
// newer.
void ClusterPairingStore::sendPush(const PhoneName& name, Revision replaced, int attempts) {
  const auto& unsaved = unsavedPushes.at(name);
  const auto key = pushKey(name.first, name.second);
  ClusterTransaction transaction{
      .conditions = {{.key = key, .kind = ClusterCondition::Kind::modifiedAt, .modified = replaced}},
      .reads = {key, pairingKey(name.first)}};
  if (unsaved.subscription) {
    transaction.conditions.push_back({.key = pairingKey(name.first), .kind = ClusterCondition::Kind::isThere});
    transaction.changes.push_back({.key = key, .value = valueOf(*unsaved.subscription)});
  } else {
    transaction.changes.push_back({.kind = ClusterChange::Kind::erase, .key = key});
  }
  member.transact(std::move(transaction), [this, name, attempts, number = unsaved.number](const auto& result) {
    didSendPush(name, number, attempts, result);
  });
}

void ClusterPairingStore::didSendPush(const PhoneName& name, std::uint64_t number, int attempts,
                                      const std::optional<ClusterTransactionResult>& result) {
  const auto found = unsavedPushes.find(name);
  if (found == unsavedPushes.end()) return;
  if (found->second.number != number) {
    return sendPush(name, member.mirror().pushRevision(name.first, name.second), kPushAttempts);
  }
  bool isKept = result && result->succeeded;
  if (result && !isKept) {
    const auto there = std::find_if(result->found.begin(), result->found.end(), [&](const ClusterEntry& one) {
      return one.key == pushKey(name.first, name.second);
    });
    const auto* const entry = there == result->found.end() ? nullptr : &*there;
    const auto& wanted = found->second.subscription;
    // It was done twice, the first time unheard.
    isKept = wanted ? entry && entry->value == valueOf(*wanted) : !entry;
    if (!isKept && attempts > 1 && mayReplace(name, wanted, entry)) {
      return sendPush(name, entry ? entry->modified : 0, attempts - 1);
    }
  }
  const auto waiting = std::move(found->second.done);
  unsavedPushes.erase(found);
  for (const auto& done : waiting) done(isKept);
}

// Another relay was first. What it keeps of this phone may be newer, or the pairing gone.
bool ClusterPairingStore::mayReplace(const PhoneName& name, const std::optional<PushSubscription>& wanted,
                                     const ClusterEntry* entry) const {
  if (!wanted) return true;
  if (!member.mirror().pairing(name.first)) return false;
  const auto other = entry ? readPushSubscription(entry->value, name.second) : std::nullopt;
  return !other || other->at <= wanted->at;
}

void ClusterPairingStore::whenKept(const std::string& pairingID, const std::string& deviceID,
                                   std::function<void(bool)> done) {
  const auto found = unsavedPushes.find({pairingID, deviceID});
  if (found == unsavedPushes.end()) return done(true);
  found->second.done.push_back(std::move(done));
}

}  // namespace quillard::relayserver
