#include "relay/PairingConfiguration.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/AgentNames.h"
#include "foundation/PrintableText.h"
#include "foundation/Text.h"
#include "foundation/UrlComponents.h"
#include "relay/PairingIdentifiers.h"
#include "relay/UserRelay.h"

namespace quillard {
namespace {

using Bytes = std::vector<std::uint8_t>;
using platform::SecretPlace;

constexpr std::string_view kSecretsKey = "quillard.installation-secrets-v1";
constexpr std::string_view kVoidPlacesKey = "quillard.void-keychain-places";
constexpr std::string_view kLegacyPairingIDKey = "quillard.per-install-pairing-id";
constexpr std::string_view kLegacyEndToEndSecretKey = "quillard.per-install-e2e-secret";
constexpr std::string_view kUsersPairingID = "quillard";  // What a new pairing's name begins with.
constexpr std::size_t kSecretBytes = 32;
constexpr SecretPlace kKeychainPlaces[] = {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain};

// The first identity has the plain names.
std::string nameFor(int number, std::string_view name) {
  return number == PairingConfiguration::kFirst ? std::string(name) : std::string(name) + "-" + std::to_string(number);
}

// The first that is set decides, even when it is set to nothing.
std::optional<std::string> firstSet(const platform::Environment& environment, std::string_view first,
                                    std::string_view second) {
  auto value = environment.value(first);
  return value ? value : environment.value(second);
}

std::variant<RelayLaunchConfiguration, std::string> readLaunchConfiguration(const platform::PropertyListTexts& texts) {
  for (const auto* key : {"relayURL", "pairingID"}) {
    if (!texts.contains(key)) return std::string(key) + ": Expected a text.";
  }
  return RelayLaunchConfiguration{texts.find("relayURL")->second, texts.find("pairingID")->second};
}

}  // namespace

PairingConfiguration::PairingConfiguration(const PairingDependencies& dependencies, int number)
    : dependencies(dependencies),
      isFirst(number == kFirst),
      account(accountOf(number)),
      settingsKey(nameFor(number, kSecretsKey)),
      keychain(dependencies.secretStore, dependencies.console),
      retired(dependencies.userDefaults, nameFor(number, kVoidPlacesKey)) {}

std::string PairingConfiguration::accountOf(int number) { return nameFor(number, kSecretsAccount); }

// ---- Which relay

std::optional<RelayLaunchConfiguration> PairingConfiguration::environmentConfiguration() const {
  const auto relayURL = firstSet(dependencies.environment, "QUILLARD_RELAY_URL", "FARROWLIGHT_RELAY_URL");
  const auto pairingID = firstSet(dependencies.environment, "QUILLARD_PAIRING_ID", "FARROWLIGHT_PAIRING_ID");
  if (!relayURL || relayURL->empty() || !pairingID || pairingID->empty()) return std::nullopt;
  return RelayLaunchConfiguration{*relayURL, *pairingID};
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::userConfiguration() const {
  auto address = UserRelay::stored(dependencies.userDefaults);
  if (!address) return std::nullopt;
  return RelayLaunchConfiguration{*std::move(address), std::string(kUsersPairingID)};
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::bundledConfiguration() const {
  const auto resource = dependencies.bundle.propertyList("RelayConfig");
  if (!resource) return std::nullopt;
  std::variant<RelayLaunchConfiguration, std::string> outcome;
  if (const auto* error = std::get_if<platform::ResourceError>(&*resource)) {
    outcome = error->description;
  } else {
    outcome = readLaunchConfiguration(std::get<platform::PropertyListTexts>(*resource));
  }
  if (auto* configuration = std::get_if<RelayLaunchConfiguration>(&outcome)) return std::move(*configuration);
  dependencies.console.writeLine("Unable to read bundled relay configuration: " +
                                 printableText(std::get<std::string>(outcome)));
  return std::nullopt;
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::configuredRelay() {
  if (auto configuration = environmentConfiguration()) return configuration;
  if (auto configuration = bundledConfigurationReadOnce()) return configuration;
  return userConfiguration();
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::bundledConfigurationReadOnce() {
  const MutexLock locked{readingBundle};
  if (!bundledRelay) bundledRelay = bundledConfiguration();
  return *bundledRelay;
}

std::optional<RelayOrigin> PairingConfiguration::relayOrigin() {
  if (environmentConfiguration()) return RelayOrigin::environment;
  if (bundledConfigurationReadOnce()) return RelayOrigin::bundle;
  return userConfiguration() ? std::optional{RelayOrigin::user} : std::nullopt;
}

bool PairingConfiguration::isRelayConfigured() {
  const auto configuration = configuredRelay();
  return configuration && backendBaseURL(configuration->relayURL);
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::launchConfiguration() {
  if (auto cached = cache.launchConfiguration()) return cached;
  const MutexLock locked{finding};
  return findLaunchConfiguration();
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::findLaunchConfiguration() {
  if (auto cached = cache.launchConfiguration()) return cached;
  auto configured = environmentConfiguration();
  if (!configured) configured = bundledConfiguration();
  if (!configured) configured = userConfiguration();
  if (!configured) return std::nullopt;
  const auto secrets = findInstallationSecrets(configured->pairingID);
  const RelayLaunchConfiguration configuration{configured->relayURL, secrets.pairingID};
  cache.store(configuration);
  return configuration;
}

// ---- Who this installation is

InstallationSecrets PairingConfiguration::installationSecrets(const std::optional<std::string>& seed) {
  if (auto cached = cache.installationSecrets()) return *std::move(cached);
  const MutexLock locked{finding};
  return findInstallationSecrets(seed);
}

InstallationSecrets PairingConfiguration::findInstallationSecrets(const std::optional<std::string>& seed) {
  if (auto cached = cache.installationSecrets()) return *std::move(cached);
  auto secrets = loadOrCreateSecrets(seed);
  cache.store(secrets);
  return secrets;
}

InstallationSecrets PairingConfiguration::loadOrCreateSecrets(const std::optional<std::string>& seed) {
  auto stored = loadSecrets();
  mayStore = true;
  mayStoreInKeychain = !stored.isUnreadable;
  isOfThisRun = !stored.secrets;
  if (stored.secrets) return *std::move(stored.secrets);
  auto created = createdSecrets(seed);
  // Something may be stored where nothing could be read: then these last for this run, and the next one looks again.
  // Where a further identity is made, there was none.
  mayStore = !stored.isUnreadable || !isFirst;
  if (!mayStore) return created;
  if (mayStoreInKeychain) storeInKeychain(created);
  keepCopy(created);
  return created;
}

PairingConfiguration::Stored PairingConfiguration::loadSecrets() {
  using Outcome = KeychainReading::Outcome;
  const auto voidPlaces = retired.voidPlaces();
  const auto reading = keychain.data(account, voidPlaces);
  const bool isUnreadable = reading.outcome == Outcome::unreadable;
  auto stored = reading.outcome == Outcome::found ? usableSecrets(reading.data.view()) : std::nullopt;
  const bool isInKeychain = stored.has_value();
  bool holdsLess = false;
  if (!isInKeychain) {
    stored = secretsFromUserDefaults();
  } else if (takeComputerKeyFromCopy(*stored)) {
    holdsLess = true;
  } else {
    keepCopy(reading.data.view());
  }
  if (!stored) return {.secrets = std::nullopt, .isUnreadable = isUnreadable};
  // What was given up, and is still there, goes as soon as something can be written over it.
  const bool holdsRetired = !voidPlaces.empty() || (!isInKeychain && isRetired(reading));
  if (holdsRetired || holdsLess) storeInKeychain(*stored);
  return {.secrets = std::move(stored), .isUnreadable = isUnreadable};
}

std::optional<InstallationSecrets> PairingConfiguration::storedSecrets() {
  if (auto cached = cache.installationSecrets()) return cached;
  const MutexLock locked{finding};
  return loadSecrets().secrets;
}

bool PairingConfiguration::isStoredUnreadable() {
  if (cache.installationSecrets()) return false;
  const MutexLock locked{finding};
  const auto stored = loadSecrets();
  return !stored.secrets && stored.isUnreadable;
}

bool PairingConfiguration::isKnown(const platform::UserDefaults& settings, int number) {
  return settings.object(nameFor(number, kSecretsKey)) || settings.object(nameFor(number, kVoidPlacesKey));
}

bool PairingConfiguration::isIdentityOfThisRun() {
  const MutexLock locked{finding};
  return isOfThisRun;
}

InstallationSecrets PairingConfiguration::secretsWithComputerKey() {
  const MutexLock locked{finding};
  auto secrets = findInstallationSecrets(std::nullopt);
  if (!secrets.computerKey.isEmpty()) return secrets;
  secrets.computerKey = randomHex(kSecretBytes, dependencies.random);
  if (mayStoreInKeychain) storeInKeychain(secrets);
  if (mayStore) keepCopy(secrets);
  cache.store(secrets);
  return secrets;
}

bool PairingConfiguration::takeComputerKeyFromCopy(InstallationSecrets& secrets) const {
  if (!secrets.computerKey.isEmpty()) return false;
  auto copy = secretsFromUserDefaults();
  if (!copy || copy->computerKey.isEmpty()) return false;
  auto withKey = secrets;
  withKey.computerKey = copy->computerKey;
  if (!(withKey == *copy)) return false;
  secrets = std::move(withKey);
  return true;
}

std::optional<InstallationSecrets> PairingConfiguration::usableSecrets(std::span<const std::uint8_t> stored) const {
  auto secrets = readInstallationSecrets(stored);
  if (!secrets || !secrets->isUsable() || retired.contains(secrets->pairingID)) return std::nullopt;
  return secrets;
}

bool PairingConfiguration::isRetired(const KeychainReading& reading) const {
  if (reading.outcome != KeychainReading::Outcome::found) return false;
  const auto secrets = readInstallationSecrets(reading.data.view());
  return secrets && retired.contains(secrets->pairingID);
}

std::optional<InstallationSecrets> PairingConfiguration::secretsFromUserDefaults() const {
  auto value = dependencies.userDefaults.object(settingsKey);
  auto* bytes = value ? std::get_if<Bytes>(&*value) : nullptr;
  if (!bytes) return std::nullopt;
  auto secrets = usableSecrets(*bytes);
  wipe(*bytes);
  return secrets;
}

bool PairingConfiguration::hasCopyInSettings() {
  const MutexLock locked{finding};
  return secretsFromUserDefaults().has_value();
}

void PairingConfiguration::keepCopy(const InstallationSecrets& secrets) {
  if (const auto text = installationSecretsText(secrets)) keepCopy(text->view());
}

// Written only when it differs: the tools read the identity too, and leave the agent's settings alone.
void PairingConfiguration::keepCopy(std::span<const std::uint8_t> stored) {
  auto kept = dependencies.userDefaults.object(settingsKey);
  auto* bytes = kept ? std::get_if<Bytes>(&*kept) : nullptr;
  const bool isKept = bytes && std::equal(bytes->begin(), bytes->end(), stored.begin(), stored.end());
  if (bytes) wipe(*bytes);
  if (!isKept) dependencies.userDefaults.set(settingsKey, Bytes(stored.begin(), stored.end()));
}

InstallationSecrets PairingConfiguration::createdSecrets(const std::optional<std::string>& seed) const {
  auto& random = dependencies.random;
  const auto legacyPairingID = legacyText(kLegacyPairingIDKey);
  if (!isFirst || (legacyPairingID && retired.contains(*legacyPairingID))) {
    return {createdPairingID(seed, random), randomHex(kSecretBytes, random), randomHex(kSecretBytes, random)};
  }
  auto legacyEndToEndSecret = legacyText(kLegacyEndToEndSecretKey);
  return {legacyPairingID ? *legacyPairingID : createdPairingID(seed, random), randomHex(kSecretBytes, random),
          legacyEndToEndSecret ? takenSecret(*legacyEndToEndSecret) : randomHex(kSecretBytes, random)};
}

void PairingConfiguration::storeInKeychain(const InstallationSecrets& secrets) {
  const auto text = installationSecretsText(secrets);
  if (!text) return;
  if (keychain.set(*text, account, /*useDataProtectionKeychain=*/true)) {
    retired.setUsable(SecretPlace::dataProtectionKeychain);
    removeFromKeychain(SecretPlace::fileKeychain);
  } else if (keychain.set(*text, account, /*useDataProtectionKeychain=*/false)) {
    retired.setUsable(SecretPlace::fileKeychain);
  }
}

void PairingConfiguration::removeFromKeychain(SecretPlace place) {
  const bool useDataProtectionKeychain = place == SecretPlace::dataProtectionKeychain;
  if (keychain.remove(account, useDataProtectionKeychain)) retired.setUsable(place);
}

// What older builds kept under `key`, trimmed. Absent when that is nothing.
std::optional<std::string> PairingConfiguration::legacyText(std::string_view key) const {
  const auto value = dependencies.userDefaults.object(key);
  const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  if (!text || text::trimmed(*text).empty()) return std::nullopt;
  return std::string(text::trimmed(*text));
}

void PairingConfiguration::rotateInstallationIdentity() {
  const MutexLock locked{finding};
  // First what voids the old identity whatever fails afterwards.
  if (const auto secrets = cache.installationSecrets()) retired.retire(secrets->pairingID);
  if (const auto copy = secretsFromUserDefaults()) retired.retire(copy->pairingID);
  for (const auto place : kKeychainPlaces) retired.setVoid(place);
  if (isFirst) {
    for (const auto key : {kLegacyPairingIDKey, kLegacyEndToEndSecretKey}) dependencies.userDefaults.remove(key);
  }
  dependencies.userDefaults.remove(settingsKey);
  for (const auto place : kKeychainPlaces) removeFromKeychain(place);
  cache.reset();
}

void PairingConfiguration::removeVoidSecrets() {
  const MutexLock locked{finding};
  for (const auto place : retired.voidPlaces()) removeFromKeychain(place);
}

void PairingConfiguration::relayWasChosen() {
  const MutexLock locked{finding};
  cache.forgetRelay();
}

// ---- What the pairing code says

std::optional<PairingPayload> PairingConfiguration::payload() {
  if (auto cached = cache.pairingPayload()) return cached;
  const MutexLock locked{finding};
  const auto configuration = findLaunchConfiguration();
  if (!configuration) return std::nullopt;
  const auto baseURL = backendBaseURL(configuration->relayURL);
  if (!baseURL) return std::nullopt;
  auto secrets = findInstallationSecrets(std::nullopt);
  PairingPayload payload{.backendURL = *baseURL,
                         .pairingID = std::move(secrets.pairingID),
                         .relaySecret = std::move(secrets.relayAuthToken),
                         .e2eSecret = std::move(secrets.e2eSecret)};
  cache.store(payload);
  return payload;
}

std::optional<std::string> PairingConfiguration::backendBaseURL(std::string_view relayURL) {
  const auto relay = UrlComponents::parse(relayURL);
  if (!relay || !relay->host) return std::nullopt;
  const UrlComponents base{
      .scheme = relay->lowercasedScheme() == "wss" ? "https" : "http", .host = relay->host, .port = relay->port};
  return base.text();
}

}  // namespace quillard
