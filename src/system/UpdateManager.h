#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/process/Bundle.h"
#include "platform/shell/UpdateService.h"

namespace quillard {

struct UpdateAvailabilitySnapshot {
  bool isUpdateAvailable = false;
  std::optional<std::string> displayVersion;  // Present when, and only when, an update is available.
  bool operator==(const UpdateAvailabilitySnapshot&) const = default;
};

// Keeps what the update framework found, so that the status window can show it instead of a window that pops up.
// States: nothing known; an update known. Main thread.
class UpdateManager {
 public:
  // Whether the bundle is an application that names a feed and its key: only then is there anything to update from.
  [[nodiscard]] static bool isSupported(const platform::Bundle& bundle);

  // Starts the framework. `service` outlives this; a system without a framework never finds anything.
  // `onUpdateAvailabilityChanged`: once for each change.
  UpdateManager(platform::UpdateService& service, std::function<void()> onUpdateAvailabilityChanged);

  [[nodiscard]] UpdateAvailabilitySnapshot availability() const;
  // A check that the user asked for, in the framework's own window.
  void checkForUpdates();

 private:
  void willHandleShowingUpdate(bool handleShowingUpdate, std::string displayVersion);
  void forgetVersion();

  std::function<void()> onUpdateAvailabilityChanged;
  std::optional<std::string> availableVersion;
  std::unique_ptr<platform::UpdateController> updaterController;  // Last: it may call back while it is made.
};

}  // namespace quillard
