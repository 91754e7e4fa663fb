#pragma once

#include <cstddef>
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
  bool operator==(const UnsentRevocation&) const = default;
};

// The pairings that have to be revoked as soon as their relay can be reached, from run to run, in the user's settings.
// The end-to-end secret is not kept: with what is, a pairing can be ended and no box be sealed or opened. One thread at
// a time.
class PendingRevocations {
 public:
  static constexpr std::size_t kMost = 16;  // The oldest goes first, offers before all others.

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
