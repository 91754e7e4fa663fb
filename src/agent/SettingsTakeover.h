#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "agent/SettingsChange.h"
#include "agent/configuration/AgentConfiguration.h"
#include "platform/storage/UserDefaults.h"
#include "relay/PairingConfiguration.h"
#include "system/InstallLocation.h"

namespace quillard {

// Where settings are kept and looked up. All of it outlives this.
struct SettingsTakeoverDependencies {
  platform::UserDefaults& userDefaults;
  AgentConfiguration::Sources settings;
  PairingConfiguration& pairingConfiguration;
  const InstallLocation& installLocation;
};

// What a change means for the owners of what it is about. Main thread; none is empty.
struct SettingsTakeoverActions {
  std::function<void()> takeOverTunables;
  std::function<void()> connectAnew;        // To the relay that is configured by now, or to none.
  std::function<void()> forgetPairingCode;  // It names another relay.
  std::function<void()> forgetApprovals;
  std::function<void()> startDetection;
  std::function<void()> publish;  // Phones learn what they may do.
  std::function<void()> refreshWindow;
};

// What a person sets from the terminal or the window: kept, and taken over as far as that is possible while the agent
// runs. Main thread.
class SettingsTakeover {
 public:
  SettingsTakeover(const SettingsTakeoverDependencies& dependencies, SettingsTakeoverActions actions);
  SettingsTakeover(const SettingsTakeover&) = delete;
  SettingsTakeover& operator=(const SettingsTakeover&) = delete;

  // Why it cannot be kept, for people, and nothing has changed then; or what came of it.
  [[nodiscard]] std::variant<std::string, SettingsChangeResult> change(const SettingsChange& change);
  // The same of the relay's address, as it was typed. Why it is not kept, or not on the disk, for people; absent: it
  // is.
  [[nodiscard]] std::optional<std::string> setRelay(const std::string& typed);

 private:
  [[nodiscard]] std::string relayAuthorityFile() const;
  // Whether the relay that is configured by now is used from now on.
  bool takeOverRelay(bool wasConfigured);

  const SettingsTakeoverDependencies dependencies;
  const SettingsTakeoverActions actions;
};

}  // namespace quillard
