#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "companion/relay/PairingStore.h"
#include "companion/relay/RelayLimits.h"

namespace quillard::relayserver {

// Who belongs to which pairing. Names and tokens are well-formed.
class Pairings {
 public:
  // Both outlive it. Throws PairingStore::Failure.
  Pairings(PairingStore& store, const RelayLimits& limits);

  enum class Registration { taken, otherToken, revoked, full, storeFailed };
  // The first token of a name is kept; the same one again is fine.
  [[nodiscard]] Registration registerToken(const std::string& pairingID, std::string_view token, std::int64_t now);

  enum class Membership { member, unauthenticated, revoked, storeFailed };
  // A pairing that is not known, and one with another token, cannot be told apart, nor by the time it takes.
  [[nodiscard]] Membership membershipOf(const std::string& pairingID, std::string_view token, std::int64_t now);

  // For good. Where the store fails, the revocation holds for as long as this process lives, and is tried again.
  void revoke(const std::string& pairingID, std::int64_t now);
  // The phone is refused from now on. False: the store failed.
  bool removePhone(const std::string& pairingID, const std::string& deviceID, std::int64_t now);
  [[nodiscard]] bool isRemoved(const std::string& pairingID, const std::string& deviceID);

  // Tries again what the store did not take, and forgets pairings that nobody has used for long, and names them. To be
  // called now and then.
  std::vector<std::string> tidy(std::int64_t now);

  [[nodiscard]] std::size_t count() const { return kept; }
  // How often the store has failed since the last question, for the log.
  [[nodiscard]] std::vector<std::string> takeFailures();

 private:
  template <class Result, class Work>
  Result withStore(Result onFailure, Work work);
  void keepSeen(const std::string& pairingID, const PairingStore::Entry& entry, std::int64_t now);

  PairingStore& store;
  const RelayLimits& limits;
  std::size_t kept;
  std::set<std::string> unsavedRevocations;
  std::set<std::pair<std::string, std::string>> unsavedRemovals;  // Pairing and device.
  std::vector<std::string> failures;
};

}  // namespace quillard::relayserver
