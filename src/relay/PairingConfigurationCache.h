#pragma once

#include <optional>

#include "foundation/Mutex.h"
#include "relay/InstallationSecrets.h"
#include "relay/PairingPayload.h"
#include "relay/RelayLaunchConfiguration.h"

namespace quillard {

// What was read about the pairing in this run, until it is reset. Every operation is atomic; any thread.
class PairingConfigurationCache {
 public:
  // Absent: not read yet.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> launchConfiguration() const;
  [[nodiscard]] std::optional<PairingPayload> pairingPayload() const;
  [[nodiscard]] std::optional<InstallationSecrets> installationSecrets() const;

  void store(const RelayLaunchConfiguration& configuration);
  void store(const PairingPayload& payload);
  void store(const InstallationSecrets& secrets);

  // Clears all three.
  void reset();
  // Clears what depends on the relay; the identity stays.
  void forgetRelay();

 private:
  mutable Mutex lock;
  std::optional<RelayLaunchConfiguration> cachedLaunchConfiguration QUILLARD_GUARDED_BY(lock);
  std::optional<PairingPayload> cachedPairingPayload QUILLARD_GUARDED_BY(lock);
  std::optional<InstallationSecrets> cachedInstallationSecrets QUILLARD_GUARDED_BY(lock);
};

}  // namespace quillard
