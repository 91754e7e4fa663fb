#include "companion/relay/cluster/ClusterMirror.h"

#include <algorithm>
#include <type_traits>
#include <unordered_set>
#include <variant>

namespace quillard::relayserver {
namespace {

// Null: not there.
template <class Map, class Key>
auto* lookUp(Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

}  // namespace

void ClusterMirror::replaceAll(const ClusterReading& reading) {
  std::unordered_set<std::string> present;
  for (const auto& entry : reading.entries) present.insert(entry.key);
  for (const auto& key : keysThere()) {
    if (!present.contains(key)) put(key, std::nullopt, reading.revision);
  }
  for (const auto& entry : reading.entries) put(entry.key, entry.value, entry.modified);
  watched = std::max(watched, reading.revision);
}

void ClusterMirror::apply(const std::vector<ClusterEvent>& events) {
  for (const auto& event : events) {
    if (event.modified <= watched) continue;  // Taken up a little too early.
    put(event.key, event.value, event.modified);
  }
  if (!events.empty()) watched = std::max(watched, events.back().modified);
}

void ClusterMirror::applyRead(const std::vector<std::string>& keys, const ClusterTransactionResult& result) {
  if (result.revision < watched) return;  // The watch knows better.
  for (const auto& key : keys) {
    const auto found = std::find_if(result.found.begin(), result.found.end(),
                                    [&](const ClusterEntry& entry) { return entry.key == key; });
    if (found == result.found.end()) {
      put(key, std::nullopt, result.revision);
    } else {
      put(key, found->value, found->modified);
    }
  }
}

void ClusterMirror::put(const std::string& key, const std::optional<std::string>& value, Revision modified) {
  std::visit(
      [&](const auto& name) {
        using Name = std::decay_t<decltype(name)>;
        if constexpr (std::is_same_v<Name, PairingName>) {
          putPairing(name.pairingID, value, modified);
        } else if constexpr (std::is_same_v<Name, RevokedName>) {
          putRevoked(name.pairingID, value, modified);
        } else if constexpr (std::is_same_v<Name, PushName>) {
          putPush(name, value, modified);
        } else if constexpr (std::is_same_v<Name, PushSecretName>) {
          putPushSecret(value, modified);
        } else if constexpr (std::is_same_v<Name, HomeName>) {
          putHome(name.pairingID, value, modified);
        } else if constexpr (std::is_same_v<Name, RelayName>) {
          putRelay(name.relay, value, modified);
        }
      },
      readKey(key));
}

void ClusterMirror::putPairing(const std::string& pairingID, const std::optional<std::string>& value,
                               Revision modified) {
  if (const Pairing* known = lookUp(pairings, pairingID)) {
    if (known->modified >= modified) return;
    removeFromOrder(pairingID, known->record);
    pairings.erase(pairingID);
  }
  const auto record = value ? readPairingRecord(*value) : std::nullopt;
  if (!record) return;
  pairings[pairingID] = {*record, modified};
  (record->isJoined ? joined : unjoined).emplace(record->lastUsed, pairingID);
}

void ClusterMirror::removeFromOrder(const std::string& pairingID, const PairingRecord& record) {
  (record.isJoined ? joined : unjoined).erase({record.lastUsed, pairingID});
}

void ClusterMirror::putRevoked(const std::string& pairingID, const std::optional<std::string>& value,
                               Revision modified) {
  const auto* known = lookUp(revoked, pairingID);
  if (known && known->second >= modified) return;
  if (!value) {
    revoked.erase(pairingID);
    return;
  }
  // One that cannot be read is a revocation all the same.
  const auto record = readTombstoneRecord(*value).value_or(TombstoneRecord{});
  revoked[pairingID] = {record.at, modified};
  if (!known && listener.revoked) listener.revoked(pairingID);
}

void ClusterMirror::putPush(const PushName& name, const std::optional<std::string>& value, Revision modified) {
  const std::pair key{name.pairingID, name.deviceID};
  const auto* known = lookUp(subscriptions, key);
  if (known && known->second >= modified) return;
  const auto record = value ? readPushSubscription(*value, name.deviceID) : std::nullopt;
  if (known) bytesOfSubscriptions -= known->first.bytes();
  if (record) {
    bytesOfSubscriptions += record->bytes();
    subscriptions[key] = {*record, modified};
  } else {
    subscriptions.erase(key);
  }
}

void ClusterMirror::putPushSecret(const std::optional<std::string>& value, Revision modified) {
  if (secret.second >= modified) return;
  const auto record = value ? readPushSecretRecord(*value) : std::nullopt;
  secret = {record ? std::optional(record->secret) : std::nullopt, modified};
}

void ClusterMirror::putHome(const std::string& pairingID, const std::optional<std::string>& value, Revision modified) {
  const Home* known = lookUp(homes, pairingID);
  if (known && known->modified >= modified) return;
  const auto record = value ? readHomeRecord(*value) : std::nullopt;
  if (record) {
    homes[pairingID] = {*record, modified};
  } else if (known) {
    homes.erase(pairingID);
  } else {
    return;
  }
  if (listener.homeChanged) listener.homeChanged(pairingID);
}

void ClusterMirror::putRelay(const std::string& name, const std::optional<std::string>& value, Revision modified) {
  const Relay* known = lookUp(allRelays, name);
  if (known && known->modified >= modified) return;
  const auto record = value ? readRelayRecord(*value) : std::nullopt;
  if (!record && !known) return;
  const bool isSame = record && known && record->run == known->record.run;
  if (record) {
    allRelays[name] = {*record, modified};
  } else {
    allRelays.erase(name);
  }
  if (!isSame && listener.relayChanged) listener.relayChanged(name);
}

const ClusterMirror::Pairing* ClusterMirror::pairing(const std::string& pairingID) const {
  return lookUp(pairings, pairingID);
}

std::optional<std::int64_t> ClusterMirror::revokedAt(const std::string& pairingID) const {
  const auto* found = lookUp(revoked, pairingID);
  return found ? std::optional(found->first) : std::nullopt;
}

std::vector<PushSubscription> ClusterMirror::pushSubscriptions(const std::string& pairingID) const {
  std::vector<PushSubscription> all;
  for (auto at = subscriptions.lower_bound({pairingID, ""}); at != subscriptions.end() && at->first.first == pairingID;
       ++at) {
    all.push_back(at->second.first);
  }
  std::stable_sort(all.begin(), all.end(), [](const auto& one, const auto& other) { return one.at < other.at; });
  return all;
}

Revision ClusterMirror::pushRevision(const std::string& pairingID, const std::string& deviceID) const {
  const auto* found = lookUp(subscriptions, std::pair{pairingID, deviceID});
  return found ? found->second : 0;
}

const ClusterMirror::Home* ClusterMirror::home(const std::string& pairingID) const { return lookUp(homes, pairingID); }

const ClusterMirror::Relay* ClusterMirror::relay(const std::string& name) const { return lookUp(allRelays, name); }

std::vector<std::string> ClusterMirror::leastUsed(bool isJoined, std::int64_t usedBefore, std::size_t most) const {
  std::vector<std::string> names;
  for (const auto& [lastUsed, pairingID] : isJoined ? joined : unjoined) {
    if (lastUsed >= usedBefore || names.size() == most) break;
    names.push_back(pairingID);
  }
  return names;
}

std::vector<std::string> ClusterMirror::oldestRevoked(std::size_t kept) const {
  if (revoked.size() <= kept) return {};
  std::vector<std::pair<std::int64_t, std::string>> ages;
  ages.reserve(revoked.size());
  for (const auto& [pairingID, known] : revoked) ages.emplace_back(known.first, pairingID);
  std::sort(ages.begin(), ages.end());
  ages.resize(revoked.size() - kept);
  std::vector<std::string> names;
  for (auto& [at, pairingID] : ages) names.push_back(std::move(pairingID));
  return names;
}

std::vector<std::string> ClusterMirror::keysThere() const {
  std::vector<std::string> keys;
  for (const auto& [pairingID, pairing] : pairings) keys.push_back(pairingKey(pairingID));
  for (const auto& [pairingID, at] : revoked) keys.push_back(revokedKey(pairingID));
  for (const auto& [name, subscription] : subscriptions) keys.push_back(pushKey(name.first, name.second));
  if (secret.first) keys.push_back(pushSecretKey());
  for (const auto& [pairingID, home] : homes) keys.push_back(homeKey(pairingID));
  for (const auto& [name, relay] : allRelays) keys.push_back(relayKey(name));
  return keys;
}

}  // namespace quillard::relayserver
