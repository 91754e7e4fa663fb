#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/cluster/ClusterMember.h"
#include "companion/relay/push/RelayStore.h"
#include "companion/relay/rules/PairingStore.h"
#include "companion/relay/rules/RelayLimits.h"

namespace quillard::relayserver {

// The pairings of a cluster, as every relay of it sees them. It reads from the mirror, so that no call waits, and fails
// while the mirror may be old. Of what it writes, a new pairing and a computer's key have to be waited for: see
// `commit`. A revocation was written before the rooms hear of it; what else is written may fail, and is
// written again another time.
class ClusterPairingStore final : public RelayStore {
 public:
  // `isFresh`: see ClusterMember. Both, and `limits`, outlive it.
  ClusterPairingStore(ClusterMember& member, const RelayLimits& limits, std::function<bool()> isFresh)
      : member(member), limits(limits), isFresh(std::move(isFresh)) {}

  enum class Commit { kept, changed, unknown };
  // Writes the pairing that was added, or the key that was set, since the last one; nobody is to be told before it is
  // kept. `changed`: something that it was decided by is otherwise by now, and known to be so.
  void commit(std::function<void(Commit)> done);

  std::optional<Entry> find(const std::string& pairingID) override;
  void add(const std::string& pairingID, const TokenHash& token, std::int64_t now) override;
  void setComputerKey(const std::string& pairingID, const TokenHash& key, std::int64_t now) override;
  void markUsed(const std::string& pairingID, std::int64_t now) override;
  void markJoined(const std::string& pairingID, std::int64_t now) override;
  void revoke(const std::string& pairingID, std::int64_t now, std::size_t most) override;
  std::vector<std::string> purge(std::int64_t usedBefore, std::int64_t unjoinedBefore) override;
  bool forgetOldestUnjoined() override;
  // Of all, the one that was not used for the longest time, if that was before then; together with what is added next.
  std::optional<std::string> forgetLeastUsed(std::int64_t usedBefore) override;
  // Throws Failure while the store is not reached, or this relay's own disk cannot be written.
  void probe() override {
    check();
    member.probeDisk();
  }
  std::size_t count() override;
  std::size_t countUnjoined() override;

  // Each relay of the cluster has the same key and the same subscriptions, so any of them posts. What is written counts
  // here at once; where the engine does not take it, it is as it was, and phones subscribe again when they are opened.
  std::optional<std::string> pushSecret() override;
  void offerPushSecret(const std::string& secret) override;
  void whenKept(const std::string& pairingID, const std::string& deviceID, std::function<void(bool)> done) override;
  std::vector<PushSubscription> pushSubscriptions(const std::string& pairingID) override;
  void keepPushSubscription(const std::string& pairingID, const PushSubscription& subscription,
                            std::size_t most) override;
  [[nodiscard]] std::size_t subscriptionBytes() const override { return member.mirror().subscriptionBytes(); }
  void erasePushSubscriptions(const std::string& pairingID, const std::string& deviceID) override;

 private:
  void check() const;
  // Unless it was changed meanwhile.
  void write(
      const std::string& pairingID, const std::optional<PairingRecord>& record,
      std::function<void(bool isKnown)> done = [](bool) {});
  void commitKey(const std::string& pairingID, const PairingRecord& record, std::function<void(Commit)> done);
  void purgeTombstones();
  void addErasing(const std::string& pairingID, ClusterTransaction& transaction) const;
  void mark(const std::string& pairingID, std::int64_t now, bool isJoined);
  // Together with what is added next, or not at all.
  bool makeRoomWith(const std::vector<std::string>& candidates);

  using PhoneName = std::pair<std::string, std::string>;  // Of the pairing, and its own.
  // `subscription` absent: erases it.
  void writePush(const std::string& pairingID, const std::string& deviceID,
                 const std::optional<PushSubscription>& subscription);
  // `replaced`: the revision at which what is there was written; 0: nothing is.
  void sendPush(const PhoneName& name, Revision replaced, int attempts);
  void didSendPush(const PhoneName& name, std::uint64_t number, int attempts,
                   const std::optional<ClusterTransactionResult>& result);
  // `entry`: what is there. Null: nothing is.
  [[nodiscard]] bool mayReplace(const PhoneName& name, const std::optional<PushSubscription>& wanted,
                                const ClusterEntry* entry) const;

  ClusterMember& member;
  const RelayLimits& limits;
  const std::function<bool()> isFresh;
  std::optional<std::pair<std::string, PairingRecord>> added;
  std::optional<std::pair<std::string, PairingRecord>> keyed;  // Of a pairing that was there.
  std::set<std::string> makingRoom;
  std::set<std::string> beingWritten;
  std::set<std::string> beingForgotten;
  struct UnsavedPush {
    std::optional<PushSubscription> subscription;   // Absent: it is being erased.
    std::vector<std::function<void(bool)>> done{};  // Whoever waits for it.
    std::uint64_t number = 0;
    bool isUnderWay = false;  // What is newer follows it.
  };
  std::map<PhoneName, UnsavedPush> unsavedPushes;
  std::uint64_t pushWrites = 0;
};

}  // namespace quillard::relayserver
