#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedSecretStore.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "relay/PairingConfiguration.h"

namespace quillard::test {

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;
using platform::SecretPlace;
using platform::SecretStatus;
using platform::SecretStatusCode;

inline constexpr auto kFirst = SecretPlace::dataProtectionKeychain;
inline constexpr auto kSecond = SecretPlace::fileKeychain;
inline constexpr const char* kAccount = "installation-secrets-v1";
inline constexpr const char* kDefaultsKey = "quillard.installation-secrets-v1";
inline constexpr const char* kLegacyPairingID = "quillard.per-install-pairing-id";
inline constexpr const char* kLegacySecret = "quillard.per-install-e2e-secret";
inline constexpr const char* kStored = R"({"pairingID":"stored-1","relayAuthToken":"tok","e2eSecret":"e2e"})";
inline const SecretStatus kMissing{SecretStatusCode::missingEntitlement, "A required entitlement is missing (-34018)."};
inline const SecretStatus kLocked{SecretStatusCode::interactionNotAllowed, "The keychain is locked (-25308)."};
inline const std::string kLockedLine = "Unable to read installation-secrets-v1 from Keychain: " + kLocked.text;

// What a user's account holds, and the runs of the agent in it.
struct Installation {
  platform::simulated::SimulatedEnvironment environment;
  platform::simulated::SimulatedBundle bundle;
  platform::simulated::SimulatedSecretStore secretStore;
  platform::simulated::SimulatedUserDefaults userDefaults;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{7}};
  platform::simulated::SimulatedConsole console;
  std::unique_ptr<PairingConfiguration> run = newRun();
  std::size_t callsOfTheTest = 0;

  std::unique_ptr<PairingConfiguration> newRun() {
    return std::make_unique<PairingConfiguration>(
        PairingDependencies{environment, bundle, secretStore, userDefaults, random, console});
  }
  void restart() { run = newRun(); }
  void setRelay(std::string_view url, std::string_view pairingID = "office") {
    environment.set("QUILLARD_RELAY_URL", url);
    environment.set("QUILLARD_PAIRING_ID", pairingID);
  }
  void putInKeychain(SecretPlace place, std::string_view text) {
    ASSERT_EQ(secretStore.add(place, "com.quillard.agent", kAccount, Secret{text}).code, SecretStatusCode::success);
    callsOfTheTest = secretStore.calls().size();
  }
  void putInDefaults(std::string_view text) { userDefaults.set(kDefaultsKey, Bytes(text.begin(), text.end())); }
  [[nodiscard]] std::optional<std::string> inDefaults() const {
    const auto value = userDefaults.object(kDefaultsKey);
    if (!value) return std::nullopt;
    const auto& bytes = std::get<Bytes>(*value);
    return std::string(bytes.begin(), bytes.end());
  }
  [[nodiscard]] bool wroteToKeychain() const {
    const auto calls = secretStore.calls();
    return std::any_of(calls.begin() + static_cast<std::ptrdiff_t>(callsOfTheTest), calls.end(), [](const auto& call) {
      return call.first != platform::simulated::SecretOperation::copyMatching;
    });
  }
};

}  // namespace quillard::test
