#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/storage/SecretStore.h"
#include "platform/storage/UserDefaults.h"

namespace quillard {

// The identities that this installation gave up, remembered in the user's settings, so that no later run uses one
// again: a keychain may refuse to delete, be locked at that moment, or come back from a backup.
//
// Two things are kept. The identifiers, which are public names and no secrets, of the last `kMost` identities. And
// which places of the keychain may still hold one that could neither be read nor deleted: such a place is void,
// whatever it holds, until the present identity was written over it.
//
// What the settings hold reaches the disk soon after, not at once: a process that is killed within that moment, or a
// disk that is full until it ends, can lose it. One thread at a time.
class RetiredIdentities {
 public:
  static constexpr std::size_t kMost = 64;

  // `defaults` outlives this. `voidPlacesKey`: where the places of this installation's identity are remembered; each
  // identity that it has at a time has its own, while those that were given up are remembered together.
  explicit RetiredIdentities(platform::UserDefaults& defaults,
                             std::string voidPlacesKey = "quillard.void-keychain-places")
      : defaults(defaults), voidPlacesKey(std::move(voidPlacesKey)) {}

  [[nodiscard]] bool contains(std::string_view pairingID) const;
  // The oldest is forgotten when there are more than `kMost`.
  void retire(std::string_view pairingID);

  [[nodiscard]] std::set<platform::SecretPlace> voidPlaces() const;
  void setVoid(platform::SecretPlace place);
  // The place holds nothing, or the present identity.
  void setUsable(platform::SecretPlace place);

 private:
  void storeVoidPlaces(const std::set<platform::SecretPlace>& places);

  platform::UserDefaults& defaults;
  const std::string voidPlacesKey;
};

}  // namespace quillard
