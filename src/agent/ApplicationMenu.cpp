#include "agent/ApplicationMenu.h"

#include <utility>

namespace quillard {

using platform::ApplicationMenuAction;

ApplicationMenu::ApplicationMenu(const ApplicationMenuDependencies& dependencies,
                                 std::function<void()> onUpdateAvailabilityChanged)
    : dependencies(dependencies), onUpdateAvailabilityChanged(std::move(onUpdateAvailabilityChanged)) {}

ApplicationMenu::~ApplicationMenu() = default;

void ApplicationMenu::configureApplicationMenu() {
  checkForUpdatesMenuItem = platform::ApplicationMenuItem{.title = dependencies.texts("Check for Updates..."),
                                                          .action = ApplicationMenuAction::custom,
                                                          .isEnabled = updateManager() != nullptr,
                                                          .onChoice = callbacks.bind([this] { checkForUpdates(); })};
  setApplicationMenu();
}

void ApplicationMenu::setApplicationMenu() {
  dependencies.application.setApplicationMenu(
      "Quillard", {{.title = dependencies.texts("About Quillard"), .action = ApplicationMenuAction::standardAboutPanel},
                   *checkForUpdatesMenuItem,
                   {},
                   {.title = dependencies.texts("Quit Quillard"),
                    .action = ApplicationMenuAction::terminate,
                    .keyEquivalent = "q"}});
}

UpdateManager* ApplicationMenu::updateManager() {
  if (!std::exchange(isUpdateManagerDecided, true) && UpdateManager::isSupported(dependencies.bundle)) {
    madeUpdateManager = std::make_unique<UpdateManager>(dependencies.updateService,
                                                        callbacks.bind([this] { onUpdateAvailabilityChanged(); }));
  }
  return madeUpdateManager.get();
}

void ApplicationMenu::checkForUpdates() {
  if (auto* const manager = updateManager()) {
    manager->checkForUpdates();
    return;
  }
  if (!checkForUpdatesMenuItem || !checkForUpdatesMenuItem->isEnabled) return;
  checkForUpdatesMenuItem->isEnabled = false;
  setApplicationMenu();
}

UpdateAvailabilitySnapshot ApplicationMenu::updateAvailability() {
  const auto* const manager = updateManager();
  return manager ? manager->availability() : UpdateAvailabilitySnapshot{};
}

}  // namespace quillard
