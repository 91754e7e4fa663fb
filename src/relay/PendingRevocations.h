#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/storage/UserDefaults.h"
#include "relay/InstallationSecrets.h"

namespace quillard {

// A pairing that was given up, of which its relay does not know yet.
struct UnsentRevocation {
  std::string relayURL;
  InstallationSecrets secrets;  // What proves to the relay who asks. The end-to-end secret is empty once it is kept.
  bool isOffer = false;         // No phone is known to have joined it.
  std::uint32_t attempts = 0;   // To tell the relay, in all runs.
  std::uint32_t refusals = 0;   // Of those, by a relay that did not know the pairing, though it had an hour to find it.
  bool operator==(const UnsentRevocation&) const = default;
};

// The pairings that have to be revoked as soon as their relay can be reached, from run to run, in the user's settings.
// The end-to-end secret is not kept: with what is, a pairing can be ended and no box be sealed or opened. Nor is the
// operator's key of the address. One thread at a time.
class PendingRevocations {
 public:
  static constexpr std::size_t kMost = 16;  // The oldest goes first, offers before all others.
  // Of one, for the caller: some three months of a computer that always runs.
  static constexpr std::uint32_t kMostAttempts = 2000;
  static constexpr std::uint32_t kMostRefusals = 3;

  // `defaults` outlives this.
  explicit PendingRevocations(platform::UserDefaults& defaults) : defaults(defaults) {}

  // Oldest first. What cannot be read is left out.
  [[nodiscard]] std::vector<UnsentRevocation> all() const;
  void add(UnsentRevocation revocation);
  void remove(const std::string& pairingID);

 private:
  void store(const std::vector<UnsentRevocation>& revocations);

  platform::UserDefaults& defaults;
};

}  // namespace quillard
