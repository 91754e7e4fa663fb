#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "foundation/CallbackScope.h"
#include "foundation/UserTexts.h"
#include "platform/process/Application.h"
#include "platform/process/Bundle.h"
#include "platform/shell/UpdateService.h"
#include "system/UpdateManager.h"

namespace quillard {

// What the menu acts through. All of it outlives the menu.
struct ApplicationMenuDependencies {
  platform::Application& application;
  const platform::Bundle& bundle;
  platform::UpdateService& updateService;
  UserTexts texts{};
};

// The agent's own menu, and the update service behind its "Check for Updates..." item. The menu stays with the
// application when this is destroyed; its item then does nothing. Main thread.
class ApplicationMenu {
 public:
  // `onUpdateAvailabilityChanged`: once for each change; never after this is destroyed.
  ApplicationMenu(const ApplicationMenuDependencies& dependencies, std::function<void()> onUpdateAvailabilityChanged);
  ~ApplicationMenu();
  ApplicationMenu(const ApplicationMenu&) = delete;
  ApplicationMenu& operator=(const ApplicationMenu&) = delete;

  // Sets the menu. Its update item is enabled only where there is something to update from.
  void configureApplicationMenu();

  // A check that the user asked for. Where there is nothing to update from it disables the item instead.
  void checkForUpdates();

  // What the update service has found. Nothing available where there is none.
  [[nodiscard]] UpdateAvailabilitySnapshot updateAvailability();

 private:
  // Made on first use, which starts the service. Empty for the life of the process when the bundle names no feed.
  UpdateManager* updateManager();
  void setApplicationMenu();

  const ApplicationMenuDependencies dependencies;
  const std::function<void()> onUpdateAvailabilityChanged;
  std::optional<platform::ApplicationMenuItem> checkForUpdatesMenuItem;  // Absent: the menu is not set yet.
  bool isUpdateManagerDecided = false;                                   // Whether it is known if there is one.
  std::unique_ptr<UpdateManager> madeUpdateManager;
  CallbackScope callbacks;  // Last.
};

}  // namespace quillard
