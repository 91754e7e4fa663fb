#include "agent/PermissionWatch.h"

#include <array>
#include <utility>

#include "values/Time.h"

namespace quillard {
namespace {

constexpr Seconds kAccessibilityPollInterval{2.0};
constexpr std::array<Seconds, 3> kAccessibilityRecheckDelays{Seconds{0.15}, Seconds{0.75}, Seconds{2.0}};

}  // namespace

PermissionWatch::PermissionWatch(platform::Accessibility& accessibility, platform::SerialExecutor& mainThread,
                                 PermissionWatchEvents events)
    : accessibility(accessibility),
      mainThread(mainThread),
      events(std::move(events)),
      lastAccessibilityTrusted(isAccessibilityTrusted()) {}

PermissionWatch::~PermissionWatch() = default;

bool PermissionWatch::isAccessibilityTrusted() { return accessibility.lastKnownProcessTrust(); }

void PermissionWatch::observeAccessibilityPermission() {
  accessibilityPermissionObserver = accessibility.observeTrustChanges([this] { accessibilityPermissionDidChange(); });
}

void PermissionWatch::accessibilityPermissionDidChange() { scheduleAccessibilityRechecks(); }

void PermissionWatch::scheduleAccessibilityStatusTimer() {
  accessibilityStatusTimer = mainThread.repeatEvery(kAccessibilityPollInterval, [this] {
    handleAccessibilityStatusChangeIfNeeded(/*forceRefresh=*/false);
    events.onPolled();
  });
}

void PermissionWatch::scheduleAccessibilityRechecks() {
  if (isStopped) return;
  for (const Seconds delay : kAccessibilityRecheckDelays) {
    const auto number = ++accessibilityRecheckCount;
    accessibilityRechecks[number] = mainThread.postAfter(delay, [this, number] {
      accessibilityRechecks.erase(number);
      handleAccessibilityStatusChangeIfNeeded(/*forceRefresh=*/true);
    });
  }
}

void PermissionWatch::handleAccessibilityStatusChangeIfNeeded(bool forceRefresh) {
  accessibility.refreshProcessTrust(callbacks.bind([this, forceRefresh](bool isTrusted) {
    if (!isStopped) accessibilityTrustRead(isTrusted, forceRefresh);
  }));
}

void PermissionWatch::accessibilityTrustRead(bool isTrusted, bool forceRefresh) {
  const bool hasChanged = std::exchange(lastAccessibilityTrusted, isTrusted) != isTrusted;
  if (hasChanged) {
    (isTrusted ? events.onGranted : events.onRevoked)();
  } else if (forceRefresh) {
    events.onConfirmed();
  }
}

void PermissionWatch::stop() {
  isStopped = true;
  accessibilityStatusTimer.reset();
  accessibilityRechecks.clear();
  accessibilityPermissionObserver.reset();
}

}  // namespace quillard
