#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "companion/relay/cluster/ClusterRecords.h"
#include "companion/relay/cluster/ClusterStore.h"

namespace quillard::relayserver {

// What the cluster's store holds, as this relay knows it: nobody waits for a look at it. It is filled by one reading of
// everything, then by the watch, and in between by what transactions and single reads bring: of each key the newest
// revision stays. Whether it is fresh is for its owner to know.
class ClusterMirror {
 public:
  struct Pairing {
    PairingRecord record;
    Revision modified = 0;
  };
  struct Home {
    HomeRecord record;
    Revision modified = 0;
  };
  struct Relay {
    RelayRecord record;
    Revision modified = 0;
  };

  // Called after a change is in the mirror. They may read it, and not change it.
  struct Listener {
    std::function<void(const std::string& pairingID)> homeChanged;
    std::function<void(const std::string& pairingID)> revoked;
    std::function<void(const std::string& relay)> relayChanged;  // Came, went, or was started anew.
  };
  explicit ClusterMirror(Listener listener) : listener(std::move(listener)) {}

  // Everything, as of one revision: what is not in it is not there.
  void replaceAll(const ClusterReading& reading);
  // Of the watch, in their order.
  void apply(const std::vector<ClusterEvent>& events);
  // What was read or written apart from the watch. `keys`: those that were asked for; those that were not found are not
  // there.
  void applyRead(const std::vector<std::string>& keys, const ClusterTransactionResult& result);

  // The watch has to be taken up from the next one.
  [[nodiscard]] Revision watchedUpTo() const { return watched; }

  // Null or absent: there is none.
  [[nodiscard]] const Pairing* pairing(const std::string& pairingID) const;
  [[nodiscard]] std::optional<std::int64_t> revokedAt(const std::string& pairingID) const;
  // Of a pairing, the oldest first.
  [[nodiscard]] std::vector<PushSubscription> pushSubscriptions(const std::string& pairingID) const;
  // At which the subscription of this phone was written. 0: there is none that can be read.
  [[nodiscard]] Revision pushRevision(const std::string& pairingID, const std::string& deviceID) const;
  // Of all of them, in memory.
  [[nodiscard]] std::size_t subscriptionBytes() const { return bytesOfSubscriptions; }
  [[nodiscard]] const std::optional<std::string>& pushSecret() const { return secret.first; }
  [[nodiscard]] const Home* home(const std::string& pairingID) const;
  [[nodiscard]] const Relay* relay(const std::string& name) const;
  [[nodiscard]] const std::map<std::string, Relay>& relays() const { return allRelays; }

  [[nodiscard]] std::size_t pairingCount() const { return pairings.size(); }
  [[nodiscard]] std::size_t unjoinedCount() const { return unjoined.size(); }
  // Those that were last used before then; `isJoined`: of these or of those. At most `most`, the oldest first.
  [[nodiscard]] std::vector<std::string> leastUsed(bool isJoined, std::int64_t usedBefore, std::size_t most) const;
  // Oldest first.
  [[nodiscard]] std::vector<std::string> oldestRevoked(std::size_t kept) const;
  // Every tombstone, for whoever keeps them elsewhere, too.
  [[nodiscard]] const std::unordered_map<std::string, std::pair<std::int64_t, Revision>>& revocations() const {
    return revoked;
  }

 private:
  using Order = std::set<std::pair<std::int64_t, std::string>>;

  // `value` absent: there is no such key.
  void put(const std::string& key, const std::optional<std::string>& value, Revision modified);
  void putPairing(const std::string& pairingID, const std::optional<std::string>& value, Revision modified);
  void putRevoked(const std::string& pairingID, const std::optional<std::string>& value, Revision modified);
  void putPush(const PushName& name, const std::optional<std::string>& value, Revision modified);
  void putPushSecret(const std::optional<std::string>& value, Revision modified);
  void putHome(const std::string& pairingID, const std::optional<std::string>& value, Revision modified);
  void putRelay(const std::string& name, const std::optional<std::string>& value, Revision modified);
  void removeFromOrder(const std::string& pairingID, const PairingRecord& record);
  [[nodiscard]] std::vector<std::string> keysThere() const;

  const Listener listener;
  Revision watched = 0;
  std::unordered_map<std::string, Pairing> pairings;
  Order joined;
  Order unjoined;
  std::unordered_map<std::string, std::pair<std::int64_t, Revision>> revoked;
  std::map<std::pair<std::string, std::string>, std::pair<PushSubscription, Revision>> subscriptions;
  std::size_t bytesOfSubscriptions = 0;
  std::pair<std::optional<std::string>, Revision> secret;
  std::unordered_map<std::string, Home> homes;
  std::map<std::string, Relay> allRelays;
};

}  // namespace quillard::relayserver
