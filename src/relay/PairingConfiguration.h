#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/Mutex.h"
#include "platform/process/Bundle.h"
#include "platform/process/Console.h"
#include "platform/process/Environment.h"
#include "platform/process/Random.h"
#include "platform/storage/SecretStore.h"
#include "platform/storage/UserDefaults.h"
#include "relay/InstallationSecrets.h"
#include "relay/MacKeychainStore.h"
#include "relay/PairingConfigurationCache.h"
#include "relay/PairingPayload.h"
#include "relay/RelayLaunchConfiguration.h"
#include "relay/RelayOrigin.h"
#include "relay/RetiredIdentities.h"

namespace quillard {

// What the pairing is read from and stored in. All of it outlives the configuration.
struct PairingDependencies {
  const platform::Environment& environment;
  const platform::Bundle& bundle;
  platform::SecretStore& secretStore;
  platform::UserDefaults& userDefaults;
  platform::Random& random;
  platform::Console& console;
};

// Which relay to use, an identity of this installation, and the content of its pairing code. One for each identity of
// the process: the first is that of every installation, further ones are kept beside it, in items of their own. Each
// answer is read once and cached; only a rotation clears the cache. Any thread; a call may wait for the keychain, which
// may ask the user.
//
// Secrets that could not be read are not replaced. A keychain that is locked or denied is not an empty one: overwriting
// it would silently unpair every phone. Their copy in the user's settings then serves this run; it is kept as soon as
// an identity is made or read, so that a keychain that is locked at some start does not cut off the phones. Without a
// copy the agent makes secrets for this run alone and stores nothing.
//
// An identity that was given up never comes back, in no run, whatever the keychain still holds or refuses to delete:
// see `RetiredIdentities`. Giving up means all that is stored, also what a locked keychain hides at that moment.
//
// What came with the application is read once: the bundle does not change while the program runs, and every scan asks
// whether a relay is configured.
class PairingConfiguration {
 public:
  static constexpr int kFirst = 1;
  // `number`: which identity, from `kFirst` on.
  explicit PairingConfiguration(const PairingDependencies& dependencies, int number = kFirst);

  // The account of the keychain's item that holds the identity of this number.
  [[nodiscard]] static std::string accountOf(int number);

  // Absent unless both the relay's address and an identifier are set, and neither is empty.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> environmentConfiguration() const;
  // What came with the application. Absent when nothing did, or, with a line that says why, it cannot be read.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> bundledConfiguration() const;
  // The relay that the user chose, see `UserRelay`. Absent: none.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> userConfiguration() const;

  // The relay that is configured, as it stands in the environment, or else in what came with the application, or else
  // as the user chose it. Makes no identity. The environment and the settings are read at each call; the application's
  // part, which stays the same while it runs, is read once, so that a broken file is reported once. Absent: none of
  // them names a relay.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> configuredRelay();
  // Where it is named. Absent: nowhere.
  [[nodiscard]] std::optional<RelayOrigin> relayOrigin();
  // Whether a relay is configured and its address can be used. Without one the agent scans nothing.
  [[nodiscard]] bool isRelayConfigured();

  // The address of the relay, with the installation's own identifier. Absent: no relay is configured.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> launchConfiguration();
  // `seed`: what a new pairing identifier begins with; absent: "quillard".
  [[nodiscard]] InstallationSecrets installationSecrets(const std::optional<std::string>& seed = std::nullopt);
  // The identity as it is stored, or as this run uses it already. Absent: none is, or it cannot be read; none is made.
  [[nodiscard]] std::optional<InstallationSecrets> storedSecrets();
  // Whether one may be stored that cannot be read now. False where `storedSecrets` gives one.
  [[nodiscard]] bool isStoredUnreadable();
  // Whether the settings know of an identity of this number, or of one that may still be in the better keychain. False:
  // none was ever stored there.
  [[nodiscard]] static bool isKnown(const platform::UserDefaults& settings, int number);
  // Whether this run made the identity that it uses, so that no earlier one told anybody of it.
  [[nodiscard]] bool isIdentityOfThisRun();
  // The identity with its `computerKey`, which is made and stored when there is none yet.
  [[nodiscard]] InstallationSecrets secretsWithComputerKey();
  // Whether the settings hold a copy of the identity, which serves where the keychain cannot be read.
  [[nodiscard]] bool hasCopyInSettings();
  // The user chose another relay: the next answers are about that one. The identity stays.
  void relayWasChosen();
  // The content of the pairing code. Absent without a relay, or when its address is not valid.
  [[nodiscard]] std::optional<PairingPayload> payload();

  // Forgets the identity: the next answers are about a new one, and every paired phone loses its access. A keychain
  // that does not delete the old one is printed; the new one lasts all the same.
  void rotateInstallationIdentity();
  // Tries again to delete what such a keychain kept. Only where there is no new identity.
  void removeVoidSecrets();

  // The address of the relay's web interface: "https" for "wss", else "http", and host and port as they are. Absent
  // when `relayURL` is not a URL, or has no host.
  [[nodiscard]] static std::optional<std::string> backendBaseURL(std::string_view relayURL);

 private:
  std::optional<RelayLaunchConfiguration> bundledConfigurationReadOnce();
  std::optional<RelayLaunchConfiguration> findLaunchConfiguration() QUILLARD_REQUIRES(finding);
  InstallationSecrets findInstallationSecrets(const std::optional<std::string>& seed) QUILLARD_REQUIRES(finding);
  // What is stored, from the better place that has it.
  struct Stored {
    std::optional<InstallationSecrets> secrets;
    bool isUnreadable = false;  // Only where there are no secrets: some may be stored all the same.
  };
  Stored loadSecrets() QUILLARD_REQUIRES(finding);
  InstallationSecrets loadOrCreateSecrets(const std::optional<std::string>& seed) QUILLARD_REQUIRES(finding);
  std::optional<InstallationSecrets> usableSecrets(std::span<const std::uint8_t> stored) const
      QUILLARD_REQUIRES(finding);
  std::optional<InstallationSecrets> secretsFromUserDefaults() const QUILLARD_REQUIRES(finding);
  InstallationSecrets createdSecrets(const std::optional<std::string>& seed) const QUILLARD_REQUIRES(finding);
  // A copy in the settings may know a key that a keychain which was locked then does not.
  bool takeComputerKeyFromCopy(InstallationSecrets& secrets) const QUILLARD_REQUIRES(finding);
  void keepCopy(const InstallationSecrets& secrets) QUILLARD_REQUIRES(finding);
  void keepCopy(std::span<const std::uint8_t> stored) QUILLARD_REQUIRES(finding);
  void storeInKeychain(const InstallationSecrets& secrets) QUILLARD_REQUIRES(finding);
  void removeFromKeychain(platform::SecretPlace place) QUILLARD_REQUIRES(finding);
  bool isRetired(const KeychainReading& reading) const QUILLARD_REQUIRES(finding);
  std::optional<std::string> legacyText(std::string_view key) const;

  PairingDependencies dependencies;
  const bool isFirst;
  const std::string account;      // Of the keychain's item.
  const std::string settingsKey;  // Of its copy.
  MacKeychainStore keychain;
  PairingConfigurationCache cache;
  Mutex readingBundle;
  // Outer: absent until `configuredRelay` needed it. Inner: absent when nothing usable came with the application.
  std::optional<std::optional<RelayLaunchConfiguration>> bundledRelay QUILLARD_GUARDED_BY(readingBundle);
  // One thread at a time reads, changes or clears, so that two threads never create different identities, and nothing
  // that was read before a rotation is cached after it. Not the cache's own lock, which is never held while the
  // keychain or a file is read.
  Mutex finding;
  RetiredIdentities retired QUILLARD_GUARDED_BY(finding);
  bool isOfThisRun QUILLARD_GUARDED_BY(finding) = false;
  bool mayStore QUILLARD_GUARDED_BY(finding) = true;            // Something is kept of the present identity.
  bool mayStoreInKeychain QUILLARD_GUARDED_BY(finding) = true;  // It was read, so that nothing unknown is overwritten.
};

}  // namespace quillard
