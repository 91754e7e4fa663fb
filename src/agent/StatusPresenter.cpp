#include "agent/StatusPresenter.h"

#include <string_view>
#include <utility>

#include "status/MenuBarIcon.h"
#include "status/StatusTexts.h"

namespace quillard {
namespace {

// The first scans are over by then, also where programs are slow.
constexpr Seconds kStartWindowTime{5};

constexpr std::string_view kPhoneWasPairedKey = "quillard.phone-was-paired";

bool wasPhonePaired(const platform::UserDefaults& defaults) {
  return defaults.object(kPhoneWasPairedKey) == platform::UserDefaultsValue{true};
}

}  // namespace

StatusPresenter::StatusPresenter(const StatusPresenterDependencies& dependencies,
                                 std::function<StatusWindowCallbacks()> windowCallbacks)
    : dependencies(dependencies),
      windowCallbacks(std::move(windowCallbacks)),
      pairingCode(dependencies.pairingConfiguration) {}

StatusPresenter::~StatusPresenter() = default;

void StatusPresenter::configureMenuBar() {
  statusItem =
      dependencies.statusBar.makeStatusItem(MenuBarIcon::idleLength, callbacks.bind([this] { showStatusWindow(); }));
  statusItem->setImage(MenuBarIcon::image(0));
  statusItem->setToolTip("Quillard");
}

void StatusPresenter::updateStatus(std::int64_t count) {
  pendingCount = count;
  if (statusItem) {
    statusItem->setLength(count < 1 ? MenuBarIcon::idleLength : MenuBarIcon::pendingLength);
    statusItem->setImage(MenuBarIcon::image(count));
  }
  refreshStatusWindow();
  makeWayIfNeeded();
}

void StatusPresenter::phoneIsPaired() {
  if (!wasPhonePaired(dependencies.userDefaults)) dependencies.userDefaults.set(kPhoneWasPairedKey, true);
  makeWayIfNeeded();
}

void StatusPresenter::makeWayIfNeeded() {
  if (pendingCount < 1 || !startWindow || !wasPhonePaired(dependencies.userDefaults)) return;
  startWindow.reset();
  statusWindowController->makeWay();
}

void StatusPresenter::refreshStatusWindow() {
  if (statusWindowController) statusWindowController->refresh();
}

void StatusPresenter::showStatusWindow() {
  startWindow.reset();
  if (isStopped) return;
  if (!statusWindowController) {
    statusWindowController = std::make_unique<StatusWindowController>(windowCallbacks(), dependencies.window);
  }
  statusWindowController->show();
}

void StatusPresenter::showStatusWindowAtStart() {
  showStatusWindow();
  if (isStopped) return;
  startWindow = dependencies.window.executors.mainThread().postAfter(kStartWindowTime,
                                                                     callbacks.bind([this] { startWindow.reset(); }));
}

std::optional<LazyBitmap> StatusPresenter::pairingImage(bool accessibilityTrusted) {
  return accessibilityTrusted ? pairingCode.image() : std::nullopt;
}

std::string StatusPresenter::pairingCaption(bool accessibilityTrusted) {
  return StatusTexts::pairingCaption(accessibilityTrusted, accessibilityTrusted && pairingCode.isAvailable(),
                                     dependencies.texts);
}

}  // namespace quillard
