#include "agent/AppDelegate.h"
#include "agent/FallbackStatusSnapshot.h"
#include "relay/QRCodeRenderer.h"
#include "status/MenuBarIcon.h"
#include "status/StatusTexts.h"

// What the user of this computer sees: the menu bar, the status window and the pairing code in it.
namespace quillard {
namespace {

constexpr int kPairingCodeScale = 10;

}  // namespace

void AppDelegate::updateStatus(std::int64_t count) {
  if (statusItem) {
    statusItem->setLength(count < 1 ? MenuBarIcon::idleLength : MenuBarIcon::pendingLength);
    statusItem->setImage(MenuBarIcon::image(count));
  }
  refreshStatusWindow();
}

void AppDelegate::refreshStatusWindow() {
  if (statusWindowController) statusWindowController->refresh();
}

void AppDelegate::showStatusWindow() {
  if (isTerminating) return;
  if (!statusWindowController) statusWindowController = makeStatusWindowController();
  statusWindowController->show();
}

std::unique_ptr<StatusWindowController> AppDelegate::makeStatusWindowController() {
  const auto calling = [weak = weak_from_this()](auto operation) {
    return [weak, operation] {
      if (const auto self = weak.lock()) ((*self).*operation)();
    };
  };
  StatusWindowCallbacks callbacks{.snapshotProvider =
                                      [weak = weak_from_this(), platform = platform] {
                                        const auto self = weak.lock();
                                        return self ? self->currentStatusSnapshot() : fallbackStatusSnapshot(platform);
                                      },
                                  .onEnableLoginItem =
                                      [weak = weak_from_this()] {
                                        if (const auto self = weak.lock()) (void)self->loginItems.registerApplication();
                                      },
                                  .onUnpairPhone = calling(&AppDelegate::unpairPhoneFromStatusWindow),
                                  .onCheckForUpdates = calling(&AppDelegate::checkForUpdates),
                                  .onPauseNotifications =
                                      [weak = weak_from_this()](NotificationPauseOption option) {
                                        if (const auto self = weak.lock()) self->pauseNotifications(option);
                                      },
                                  .onResumeNotifications = calling(&AppDelegate::resumeNotifications),
                                  .onRequestPermissions = calling(&AppDelegate::requestPermissions)};
  return std::make_unique<StatusWindowController>(
      std::move(callbacks),
      StatusWindowDependencies{platform.application, platform.executors, platform.statusWindowViews, platform.workspace,
                               installLocation, loginItems, permissions});
}

MacStatusSnapshot AppDelegate::currentStatusSnapshot() {
  const bool isTrusted = isAccessibilityTrusted();
  auto* updates = updateManager();
  return {.installedInApplications = installLocation.isRunningFromApplications(),
          .accessibilityTrusted = isTrusted,
          .loginItemStatus = loginItems.status(),
          .relayConfigured = isRelayConfigured(),
          .relayConnected = relayStatus.relayConnected,
          .phoneConnected = relayStatus.phoneConnected,
          .phoneCount = relayStatus.phoneCount,
          .connectedPhones = relayStatus.phones,
          .notificationPause = notificationPauseStore.snapshot(),
          .pendingApprovalCount = pendingApprovalCount,
          .pairingImage = isTrusted ? pairingQRCodeImage() : std::nullopt,
          .pairingCaption = StatusTexts::pairingCaption(isTrusted, isTrusted && pairingPayload()),
          .updateAvailability = updates ? updates->availability() : UpdateAvailabilitySnapshot{}};
}

// Asked for at every refresh of the window, so nothing is read anew where there is nothing to pair with.
std::optional<PairingPayload> AppDelegate::pairingPayload() {
  return isRelayConfigured() ? pairingConfiguration.payload() : std::nullopt;
}

std::optional<Bitmap> AppDelegate::pairingQRCodeImage() {
  auto payload = pairingPayload();
  if (!payload) {
    cachedPairingQRCodePayload.reset();
    cachedPairingQRCodeImage.reset();
    return std::nullopt;
  }
  if (payload == cachedPairingQRCodePayload && cachedPairingQRCodeImage) return cachedPairingQRCodeImage;
  const auto text = pairingPayloadText(*payload);
  cachedPairingQRCodePayload = std::move(payload);
  cachedPairingQRCodeImage = text ? QRCodeRenderer::image(text->view(), kPairingCodeScale) : std::nullopt;
  return cachedPairingQRCodeImage;
}

}  // namespace quillard
