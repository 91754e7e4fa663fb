#include "agent/PermissionWatch.h"

#include <array>
#include <utility>

#include "values/Time.h"

namespace quillard {

using platform::ProcessTrust;

namespace {

constexpr Seconds kAccessibilityPollInterval{2.0};
constexpr Seconds kLongestSilence{30};
constexpr std::array<Seconds, 3> kAccessibilityRecheckDelays{Seconds{0.15}, Seconds{0.75}, Seconds{2.0}};

}  // namespace

PermissionWatch::PermissionWatch(platform::Accessibility& accessibility, platform::SerialExecutor& mainThread,
                                 PermissionWatchEvents events)
    : accessibility(accessibility),
      mainThread(mainThread),
      events(std::move(events)),
      lastAccessibilityTrusted(isAccessibilityTrusted()) {}

PermissionWatch::~PermissionWatch() = default;

bool PermissionWatch::isAccessibilityTrusted() {
  return !isSilentForTooLong && accessibility.lastKnownProcessTrust() == ProcessTrust::granted;
}

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
  accessibility.refreshProcessTrust(callbacks.bind([this, forceRefresh](ProcessTrust trust) {
    if (!isStopped) accessibilityTrustRead(trust, forceRefresh);
  }));
}

void PermissionWatch::accessibilityTrustRead(ProcessTrust trust, bool forceRefresh) {
  if (trust != ProcessTrust::unknown) {
    silenceTimer.reset();
    isSilentForTooLong = false;
  } else if (!silenceTimer && !isSilentForTooLong) {
    silenceTimer = mainThread.postAfter(kLongestSilence, [this] {
      silenceTimer.reset();
      isSilentForTooLong = true;
      accessibilityTrustChanged(/*forceRefresh=*/false);
    });
  }
  accessibilityTrustChanged(forceRefresh);
}

void PermissionWatch::accessibilityTrustChanged(bool forceRefresh) {
  const bool isTrusted = isAccessibilityTrusted();
  const bool hasChanged = std::exchange(lastAccessibilityTrusted, isTrusted) != isTrusted;
  if (hasChanged) {
    (isTrusted ? events.onGranted : events.onRevoked)();
  } else if (forceRefresh) {
    events.onConfirmed();
  }
}

void PermissionWatch::stop() {
  isStopped = true;
  silenceTimer.reset();
  accessibilityStatusTimer.reset();
  accessibilityRechecks.clear();
  accessibilityPermissionObserver.reset();
}

}  // namespace quillard
