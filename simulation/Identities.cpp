#include "simulation/Identities.h"

#include <cstdint>
#include <span>
#include <vector>

namespace quillard::simulation {

namespace {

constexpr const char* kAccount = "installation-secrets-v1";
constexpr const char* kSettingsKey = "quillard.installation-secrets-v1";

}  // namespace

void Identities::refresh() {
  for (const auto place : {platform::SecretPlace::fileKeychain, platform::SecretPlace::dataProtectionKeychain}) {
    const auto stored = world.secretStore().stored(place, kAccount);
    if (!stored || !texts.insert(*stored).second) continue;
    take(readInstallationSecrets({reinterpret_cast<const std::uint8_t*>(stored->data()), stored->size()}));
  }
  const auto copy = world.userDefaults().object(kSettingsKey);
  const auto* bytes = copy ? std::get_if<std::vector<std::uint8_t>>(&*copy) : nullptr;
  if (bytes && texts.insert({bytes->begin(), bytes->end()}).second) take(readInstallationSecrets(*bytes));
}

void Identities::take(const std::optional<InstallationSecrets>& secrets) {
  if (!secrets) return;
  const auto added = all.emplace(std::string(secrets->relayAuthToken.text()), *secrets);
  if (added.second) newest = *secrets;
}

void Identities::presented(const std::string& token) {
  if (const auto* secrets = ofToken(token)) newest = *secrets;
}

const InstallationSecrets* Identities::ofToken(const std::string& token) const {
  const auto found = all.find(token);
  return found == all.end() ? nullptr : &found->second;
}

}  // namespace quillard::simulation
