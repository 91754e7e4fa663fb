#include <algorithm>
#include <utility>

#include "companion/relay/cluster/ClusterPairingStore.h"

// What of pushes the cluster keeps.
namespace quillard::relayserver {

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
  const auto number = ++pushWrites;
  const std::pair name{pairingID, deviceID};
  auto& unsaved = unsavedPushes[name];
  unsaved.subscription = subscription;
  unsaved.number = number;  // Whoever waited for what was written before waits for this.
  const auto key = pushKey(pairingID, deviceID);
  ClusterTransaction transaction{.reads = {key}};
  if (subscription) {
    transaction.conditions = {{.key = pairingKey(pairingID), .kind = ClusterCondition::Kind::isThere}};
    transaction.changes.push_back({.key = key, .value = valueOf(*subscription)});
  } else {
    transaction.changes.push_back({.kind = ClusterChange::Kind::erase, .key = key});
  }
  member.transact(std::move(transaction), [this, name, number](const auto& result) {
    const auto found = unsavedPushes.find(name);
    if (found == unsavedPushes.end() || found->second.number != number) return;
    const auto waiting = std::move(found->second.done);
    unsavedPushes.erase(found);
    for (const auto& done : waiting) done(result && result->succeeded);
  });
}

void ClusterPairingStore::whenKept(const std::string& pairingID, const std::string& deviceID,
                                   std::function<void(bool)> done) {
  const auto found = unsavedPushes.find({pairingID, deviceID});
  if (found == unsavedPushes.end()) return done(true);
  found->second.done.push_back(std::move(done));
}

}  // namespace quillard::relayserver
