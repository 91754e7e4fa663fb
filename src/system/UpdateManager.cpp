#include "system/UpdateManager.h"

#include <string_view>
#include <utility>

#include "system/ApplicationBundle.h"

namespace quillard {

namespace {

bool hasText(const platform::Bundle& bundle, std::string_view key) {
  const auto text = bundle.informationText(key);
  return text && !text->empty();
}

}  // namespace

bool UpdateManager::isSupported(const platform::Bundle& bundle) {
  return isApplicationBundle(bundle) && hasText(bundle, "SUFeedURL") && hasText(bundle, "SUPublicEDKey");
}

UpdateManager::UpdateManager(platform::UpdateService& service, std::function<void()> onUpdateAvailabilityChanged)
    : onUpdateAvailabilityChanged(std::move(onUpdateAvailabilityChanged)),
      updaterController(service.makeController({
          .willHandleShowingUpdate =
              [this](bool handleShowingUpdate, std::string displayVersion) {
                willHandleShowingUpdate(handleShowingUpdate, std::move(displayVersion));
              },
          .didReceiveUserAttention = [this] { forgetVersion(); },
          .willFinishUpdateSession = [this] { forgetVersion(); },
      })) {}

UpdateAvailabilitySnapshot UpdateManager::availability() const {
  return {.isUpdateAvailable = availableVersion.has_value(), .displayVersion = availableVersion};
}

void UpdateManager::checkForUpdates() {
  if (updaterController) updaterController->checkForUpdates();
}

void UpdateManager::willHandleShowingUpdate(bool handleShowingUpdate, std::string displayVersion) {
  if (handleShowingUpdate) return;
  availableVersion = std::move(displayVersion);
  if (onUpdateAvailabilityChanged) onUpdateAvailabilityChanged();
}

void UpdateManager::forgetVersion() {
  if (!availableVersion) return;
  availableVersion.reset();
  if (onUpdateAvailabilityChanged) onUpdateAvailabilityChanged();
}

}  // namespace quillard
