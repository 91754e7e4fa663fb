#pragma once

#include <cstdint>
#include <functional>
#include <map>

#include "foundation/CallbackScope.h"
#include "platform/Subscription.h"
#include "platform/desktop/Accessibility.h"
#include "platform/process/Executors.h"

namespace quillard {

// What the watch reports, in turns of the main thread. None may be empty.
struct PermissionWatchEvents {
  std::function<void()> onGranted;
  std::function<void()> onRevoked;
  // The system reported a change, and the permission is the same as before.
  std::function<void()> onConfirmed;
  // After each poll, whatever it found. For other state that follows the system only by asking, so that an idle agent
  // wakes up for one timer.
  std::function<void()> onPolled;
};

// Follows the accessibility permission of this process. It polls, since the system does not report every change, and
// after each report it asks three times more, since the answer may change a little before or after the report.
//
// When the system gives no answer, the permission counts as it was for 30 s; a system that is silent for longer has
// taken it, and gives it back with its next answer. So a service that is started anew, or held up for a moment, changes
// nothing. A permission that was never known counts as missing.
//
// States: watching nothing -> observing, polling or both -> stopped. Main thread.
class PermissionWatch {
 public:
  // Both outlive the watch. The permission as it is now counts as known: only a later change is an event.
  PermissionWatch(platform::Accessibility& accessibility, platform::SerialExecutor& mainThread,
                  PermissionWatchEvents events);
  ~PermissionWatch();
  PermissionWatch(const PermissionWatch&) = delete;
  PermissionWatch& operator=(const PermissionWatch&) = delete;

  // Whether the agent may use the accessibility interface, by the newest answer that anyone in the agent was given:
  // never older than one poll but for a silent system, and never waited for. Never asks the user.
  [[nodiscard]] bool isAccessibilityTrusted();

  // Listens to the system's reports from now on.
  void observeAccessibilityPermission();
  // Asks every 2 s from now on. Takes the place of an earlier timer.
  void scheduleAccessibilityStatusTimer();
  // Asks 0.15, 0.75 and 2 s from now, besides all that is scheduled already. Nothing happens once it is stopped.
  void scheduleAccessibilityRechecks();

  // No event comes afterwards.
  void stop();

 private:
  void accessibilityPermissionDidChange();
  // Asks for a fresh answer, which the main thread does not wait for. `forceRefresh`: an unchanged permission is
  // reported too.
  void handleAccessibilityStatusChangeIfNeeded(bool forceRefresh);
  void accessibilityTrustRead(platform::ProcessTrust trust, bool forceRefresh);
  void accessibilityTrustChanged(bool forceRefresh);

  platform::Accessibility& accessibility;
  platform::SerialExecutor& mainThread;
  const PermissionWatchEvents events;
  bool isSilentForTooLong = false;
  platform::TaskHandle silenceTimer;  // Present while the system gives no answer, until that is for too long.
  bool lastAccessibilityTrusted;
  bool isStopped = false;
  platform::SubscriptionHandle accessibilityPermissionObserver;
  platform::TaskHandle accessibilityStatusTimer;
  std::map<std::uint64_t, platform::TaskHandle> accessibilityRechecks;  // Those that are ahead, by age.
  std::uint64_t accessibilityRecheckCount = 0;
  CallbackScope callbacks;  // Last.
};

}  // namespace quillard
