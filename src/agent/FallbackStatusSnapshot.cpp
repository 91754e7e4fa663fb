#include "agent/FallbackStatusSnapshot.h"

#include "status/FallbackSnapshot.h"
#include "system/InstallLocation.h"
#include "system/LoginItemManager.h"

namespace quillard {

PairingDependencies pairingDependencies(const platform::Platform& platform) {
  return {platform.environment,  platform.bundle, platform.secretStore,
          platform.userDefaults, platform.random, platform.console};
}

MacStatusSnapshot fallbackStatusSnapshot(const platform::Platform& platform, const UserTexts& texts) {
  PairingConfiguration pairing{pairingDependencies(platform)};
  LoginItemManager loginItems{platform.bundle, platform.loginService, platform.workspace, platform.console};
  return fallbackSnapshot(InstallLocation{platform.bundle}.isRunningFromApplications(),
                          platform.accessibility.lastKnownProcessTrust() == platform::ProcessTrust::granted,
                          loginItems.status(), pairing.isRelayConfigured(), texts);
}

}  // namespace quillard
