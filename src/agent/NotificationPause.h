#pragma once

#include <functional>

#include "approvals/NotificationPauseStore.h"
#include "platform/process/Calendar.h"
#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "platform/storage/UserDefaults.h"
#include "values/Time.h"

namespace quillard {

// What the pause is kept in and measured by. All of it outlives the pause.
struct NotificationPauseDependencies {
  platform::UserDefaults& userDefaults;
  const platform::Clock& clock;
  const platform::Calendar& calendar;
  platform::SerialExecutor& mainThread;
};

// The pause of alerts, which ends by itself when its time has come. What is stored decides: a pause of the last run
// goes on, and one that was extended by someone else lasts longer. Main thread.
//
// A pause ends by the wall clock, the timer runs on the monotonic one. Where that stands still while the computer
// sleeps, the timer is late by the sleep, and `resumeAfterSleepIfNeeded` makes up for it: a pause until the morning
// must not last until the evening.
class NotificationPause {
 public:
  // `onEnded`: a timed pause has ended by itself.
  NotificationPause(const NotificationPauseDependencies& dependencies, std::function<void()> onEnded);
  ~NotificationPause();
  NotificationPause(const NotificationPause&) = delete;
  NotificationPause& operator=(const NotificationPause&) = delete;

  [[nodiscard]] NotificationPauseSnapshot snapshot() const { return notificationPauseStore.snapshot(); }
  [[nodiscard]] bool isPaused() const { return snapshot().isPaused(); }

  // Takes the place of whatever pause there was.
  void begin(NotificationPauseOption option);
  void end();

  // Waits for the end of the stored pause, if it has one; replaces an earlier wait. A pause that is over already still
  // lasts half a second. Nothing happens once it is stopped.
  void scheduleNotificationPauseResumeTimer();
  // Ends the pause now if its end has passed by more than the timer would be late.
  void resumeAfterSleepIfNeeded();

  // A pause that ends afterwards stays stored, for the next run to end.
  void stop();

  // How long to wait for the end of a pause: never less than half a second, and never so little that it is still in
  // force afterwards. Takes every pair of dates, also where their difference is too large for a signed count.
  [[nodiscard]] static Seconds resumeDelay(Date pausedUntil, Date now);

 private:
  void notificationPauseMayHaveEnded();

  const NotificationPauseDependencies dependencies;
  const std::function<void()> onEnded;
  NotificationPauseStore notificationPauseStore;
  platform::TaskHandle notificationPauseResumeTimer;  // Empty: nothing to wait for.
  bool isStopped = false;
};

}  // namespace quillard
