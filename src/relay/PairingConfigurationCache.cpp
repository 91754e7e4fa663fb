#include "relay/PairingConfigurationCache.h"

namespace quillard {

std::optional<RelayLaunchConfiguration> PairingConfigurationCache::launchConfiguration() const {
  const MutexLock locked{lock};
  return cachedLaunchConfiguration;
}

std::optional<PairingPayload> PairingConfigurationCache::pairingPayload() const {
  const MutexLock locked{lock};
  return cachedPairingPayload;
}

std::optional<InstallationSecrets> PairingConfigurationCache::installationSecrets() const {
  const MutexLock locked{lock};
  return cachedInstallationSecrets;
}

void PairingConfigurationCache::store(const RelayLaunchConfiguration& configuration) {
  const MutexLock locked{lock};
  cachedLaunchConfiguration = configuration;
}

void PairingConfigurationCache::store(const PairingPayload& payload) {
  const MutexLock locked{lock};
  cachedPairingPayload = payload;
}

void PairingConfigurationCache::store(const InstallationSecrets& secrets) {
  const MutexLock locked{lock};
  cachedInstallationSecrets = secrets;
}

void PairingConfigurationCache::reset() {
  const MutexLock locked{lock};
  cachedLaunchConfiguration.reset();
  cachedPairingPayload.reset();
  cachedInstallationSecrets.reset();
}

void PairingConfigurationCache::forgetRelay() {
  const MutexLock locked{lock};
  cachedLaunchConfiguration.reset();
  cachedPairingPayload.reset();
}

}  // namespace quillard
