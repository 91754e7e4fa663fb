#include "agent/SettingsTakeover.h"

#include <utility>

#include "relay/RelayOrigin.h"

namespace quillard {

SettingsTakeover::SettingsTakeover(const SettingsTakeoverDependencies& dependencies, SettingsTakeoverActions actions)
    : dependencies(dependencies), actions(std::move(actions)) {}

std::variant<std::string, SettingsChangeResult> SettingsTakeover::change(const SettingsChange& change) {
  const bool wasConfigured = dependencies.pairingConfiguration.isRelayConfigured();
  const auto authorityBefore = relayAuthorityFile();
  if (const auto problem = apply(change, dependencies.userDefaults)) return *problem;
  auto unwritten = dependencies.userDefaults.synchronize();
  if (change.name == kRelaySetting) return SettingsChangeResult{takeOverRelay(wasConfigured), std::move(unwritten)};
  actions.takeOverTunables();
  // An open connection was made with a relay for which the authorities of before have vouched.
  if (relayAuthorityFile() != authorityBefore && dependencies.installLocation.isRunningFromApplications()) {
    actions.connectAnew();
  }
  actions.publish();
  return SettingsChangeResult{/*isTakenOver=*/true, std::move(unwritten)};
}

std::optional<std::string> SettingsTakeover::setRelay(const std::string& typed) {
  const auto outcome = change({.name = std::string(kRelaySetting), .value = typed});
  if (const auto* const problem = std::get_if<std::string>(&outcome)) return *problem;
  return std::get<SettingsChangeResult>(outcome).unwritten;
}

std::string SettingsTakeover::relayAuthorityFile() const {
  return AgentConfiguration::relayAuthorityFile(dependencies.settings);
}

// Where the environment or the program itself names a relay, the user's is kept and not used.
bool SettingsTakeover::takeOverRelay(bool wasConfigured) {
  const auto origin = dependencies.pairingConfiguration.relayOrigin();
  if (origin.value_or(RelayOrigin::user) != RelayOrigin::user) return false;
  if (!dependencies.installLocation.isRunningFromApplications()) return false;
  actions.forgetPairingCode();
  actions.connectAnew();
  if (!origin) {
    actions.forgetApprovals();  // Nothing is looked at without a relay.
  } else if (!wasConfigured) {
    actions.startDetection();
  }
  actions.refreshWindow();
  return true;
}

}  // namespace quillard
