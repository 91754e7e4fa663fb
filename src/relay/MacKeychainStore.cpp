#include "relay/MacKeychainStore.h"

#include <string>
#include <utility>

#include "foundation/AgentNames.h"
#include "foundation/PrintableText.h"

namespace quillard {
namespace {

using platform::SecretPlace;
using platform::SecretStatus;
using platform::SecretStatusCode;

SecretPlace place(bool useDataProtectionKeychain) {
  return useDataProtectionKeychain ? SecretPlace::dataProtectionKeychain : SecretPlace::fileKeychain;
}

// Whether this build has no such place at all: nothing to read, nothing to tell.
bool isMissing(SecretPlace place, const SecretStatus& status) {
  return place == SecretPlace::dataProtectionKeychain && status.code == SecretStatusCode::missingEntitlement;
}

}  // namespace

KeychainReading MacKeychainStore::data(std::string_view key, const std::set<SecretPlace>& passedOver) {
  auto outcome = KeychainReading::Outcome::absent;
  for (const SecretPlace place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
    if (passedOver.contains(place)) continue;
    auto reading = secretStore.copyMatching(place, kAgentIdentifier, key);
    if (reading.status.code == SecretStatusCode::success) {
      return {KeychainReading::Outcome::found, std::move(reading.data)};
    }
    if (reading.status.code == SecretStatusCode::itemNotFound || isMissing(place, reading.status)) continue;
    print("read", key, reading.status);
    outcome = KeychainReading::Outcome::unreadable;
  }
  return {outcome, {}};
}

bool MacKeychainStore::set(const Secret& data, std::string_view key, bool useDataProtectionKeychain) {
  const SecretPlace place = quillard::place(useDataProtectionKeychain);
  SecretStatus status = secretStore.update(place, kAgentIdentifier, key, data);
  if (status.code == SecretStatusCode::itemNotFound) status = secretStore.add(place, kAgentIdentifier, key, data);
  if (status.code == SecretStatusCode::success) return true;
  if (!isMissing(place, status)) print("update", key, status);
  return false;
}

bool MacKeychainStore::remove(std::string_view key, bool useDataProtectionKeychain) {
  const SecretStatus status = secretStore.remove(place(useDataProtectionKeychain), kAgentIdentifier, key);
  if (status.code == SecretStatusCode::success || status.code == SecretStatusCode::itemNotFound) return true;
  print("delete", key, status);
  return false;
}

void MacKeychainStore::print(std::string_view verb, std::string_view key, const SecretStatus& status) {
  console.writeLine("Unable to " + std::string(verb) + " " + std::string(key) +
                    " from Keychain: " + printableText(status.text));
}

}  // namespace quillard
