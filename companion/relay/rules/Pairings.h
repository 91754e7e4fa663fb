#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "companion/relay/rules/PairingStore.h"
#include "companion/relay/rules/PrefixBuckets.h"
#include "companion/relay/rules/RelayLimits.h"

namespace quillard::relayserver {

// Which token belongs to which pairing, over a store that may fail. Callers pass only well-formed names and tokens.
// `now` is in seconds since 1970.
class Pairings {
 public:
  // Both outlive it. Throws PairingStore::Failure.
  Pairings(PairingStore& store, const RelayLimits& limits);

  enum class Registration {
    taken,
    otherToken,
    revoked,
    notAllowed,
    full,
    tooMany,
    storeFailed,
    computerKeyWanted,  // Nothing was kept: the registrant is to make a key first.
    otherComputer,      // The pairing's computer has another key.
  };
  // Who registers.
  struct Registrant {
    bool mayAdd = true;   // A new pairing.
    RatePrefixes from{};  // The address that it comes from.
    // The key by which it is known to be the pairing's computer from then on; phones have the token, too. Empty: it has
    // none yet and could make one. Absent: it knows nothing of such keys.
    std::optional<std::string> computerKey{};
  };
  // The first token of a name is kept; the same one again is fine. Where there are as many as there may be, or as many
  // that no client has joined, the oldest of the latter makes room, else the one that was not used for the longest
  // time, if that is `limits.reclaimAfter` or more. `tooMany`: too many new ones came lately, from there or from
  // everywhere. `notAllowed`: it would be a new one, and the registrant may not add any.
  [[nodiscard]] Registration registerToken(const std::string& pairingID, std::string_view token,
                                           const Registrant& registrant, Moment now);

  enum class Membership { member, unauthenticated, revoked, storeFailed };
  // The answer, and the time it takes, are the same for an unknown pairing and for one with another token: a client
  // cannot find out which pairings exist.
  [[nodiscard]] Membership membershipOf(const std::string& pairingID, std::string_view token, std::int64_t now);

  // Whether who shows this key (empty: none) may be the pairing's computer: its key, or any while none was registered.
  // Absent: the store failed.
  [[nodiscard]] std::optional<bool> isComputer(const std::string& pairingID, std::string_view key);

  // A member has connected: the pairing is not purged soon.
  void didJoin(const std::string& pairingID, std::int64_t now);
  // A member is connected still.
  void noteUsed(const std::string& pairingID, std::int64_t now);

  // For good. False: the store failed. Then nobody is let in, but nobody is told that it is revoked, which would not
  // outlive this process; it is tried again.
  bool revoke(const std::string& pairingID, std::int64_t now);

  // Counts anew what is stored, for a store that others change, too.
  void recount() { countAgain(); }
  // Tries again what the store did not take, until it fails again. To be called every few seconds.
  void retryUnsaved(std::int64_t now);
  // Tries again, too, purges pairings that were not used for `limits.purgeAfter`, or that no client has joined for
  // `limits.unjoinedAfter`, and returns their names. To be called every few minutes.
  std::vector<std::string> tidy(std::int64_t now);

  // The names of those that have made room for others since the last call.
  [[nodiscard]] std::vector<std::string> takeForgotten();

  // Whether the store could be read and written when it was last used. To be asked after `probe`, called now and then:
  // what cannot be written may still be read.
  [[nodiscard]] bool isStoreFine() const { return hasStoreWorked; }
  void probe();
  [[nodiscard]] std::size_t count() const { return kept; }
  // See PairingStore.
  [[nodiscard]] double takeWaited() { return store.takeWaited(); }
  // The failures of the store since the last call, for the log; at most 16.
  [[nodiscard]] std::vector<std::string> takeFailures();

 private:
  Registration registerComputer(const std::string& pairingID, const PairingStore::Entry& entry,
                                const Registrant& registrant, std::int64_t now);
  [[nodiscard]] bool hasRoomForOne(std::int64_t now);
  void countAgain();
  template <class Result, class Work>
  Result withStore(Result onFailure, Work work);
  void keepUsed(const std::string& pairingID, const PairingStore::Entry& entry, std::int64_t now);

  PairingStore& store;
  const RelayLimits& limits;
  std::size_t kept = 0;
  std::size_t unjoined = 0;  // Of these.
  TokenBucket newPairings;
  PrefixBuckets newPairingsFrom;
  std::vector<std::string> forgotten;
  std::string lastJoined;  // A pairing that was read last, and that clients have joined already.
  bool hasStoreWorked = true;
  std::set<std::string> unsavedRevocations;
  std::vector<std::string> failures;
};

}  // namespace quillard::relayserver
