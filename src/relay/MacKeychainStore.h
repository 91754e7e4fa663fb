#pragma once

#include <set>
#include <string_view>

#include "platform/process/Console.h"
#include "platform/storage/SecretStore.h"
#include "values/Secret.h"

namespace quillard {

// The outcome of reading the keychain.
struct KeychainReading {
  enum class Outcome {
    found,
    absent,      // All places were read, and none has the item.
    unreadable,  // None was found, but some place could not be read: the item may be there.
  };
  Outcome outcome = Outcome::absent;
  Secret data;  // Empty unless found.
};

// The agent's items in the user's keychain: service "com.quillard.agent", the account is the item's key. There are two
// places, the data-protection keychain and the older file keychain; a build without the entitlement for the first has
// the second. Failures other than that and than an item that is not there are printed, with the system's words for
// them. One thread at a time, as the secret store demands.
class MacKeychainStore {
 public:
  // Both outlive the store.
  MacKeychainStore(platform::SecretStore& secretStore, platform::Console& console)
      : secretStore(secretStore), console(console) {}

  // The item from the first place that has it. Places in `passedOver` are not read, as if they were empty.
  [[nodiscard]] KeychainReading data(std::string_view key, const std::set<platform::SecretPlace>& passedOver = {});

  // Replaces the item, or adds it. False: it was not stored; what was there before may still be.
  [[nodiscard]] bool set(const Secret& data, std::string_view key, bool useDataProtectionKeychain);

  // Afterwards the item is gone; or, with a line that says why, it may still be there: false.
  bool remove(std::string_view key, bool useDataProtectionKeychain);

 private:
  void print(std::string_view verb, std::string_view key, const platform::SecretStatus& status);

  platform::SecretStore& secretStore;
  platform::Console& console;
};

}  // namespace quillard
