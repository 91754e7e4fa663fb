#include "agent/NotificationPause.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace quillard {
namespace {

constexpr Seconds kShortestResumeDelay{0.5};
constexpr Seconds kResumeGrace{0.5};

}  // namespace

NotificationPause::NotificationPause(const NotificationPauseDependencies& dependencies, std::function<void()> onEnded)
    : dependencies(dependencies), onEnded(std::move(onEnded)), notificationPauseStore(dependencies.userDefaults) {}

NotificationPause::~NotificationPause() = default;

void NotificationPause::begin(NotificationPauseOption option) {
  notificationPauseStore.apply(option, dependencies.clock.now(), dependencies.calendar);
  scheduleNotificationPauseResumeTimer();
}

void NotificationPause::end() {
  notificationPauseStore.resume();
  scheduleNotificationPauseResumeTimer();
}

void NotificationPause::scheduleNotificationPauseResumeTimer() {
  notificationPauseResumeTimer.reset();
  const auto pause = snapshot();
  if (isStopped || !pause.pausedUntil || pause.pausesIndefinitely) return;
  const Seconds delay = resumeDelay(*pause.pausedUntil, dependencies.clock.now());
  notificationPauseResumeTimer = dependencies.mainThread.postAfter(delay, [this] { notificationPauseMayHaveEnded(); });
}

void NotificationPause::notificationPauseMayHaveEnded() {
  notificationPauseResumeTimer.reset();
  notificationPauseStore.pruneExpired(dependencies.clock.now());
  if (isPaused()) {
    scheduleNotificationPauseResumeTimer();
    return;
  }
  onEnded();
}

void NotificationPause::resumeAfterSleepIfNeeded() {
  if (!notificationPauseResumeTimer) return;
  const auto end = snapshot().pausedUntil;
  if (end && advanced(*end, kResumeGrace) <= dependencies.clock.now()) notificationPauseMayHaveEnded();
}

void NotificationPause::stop() {
  isStopped = true;
  notificationPauseResumeTimer.reset();
}

Seconds NotificationPause::resumeDelay(Date pausedUntil, Date now) {
  if (pausedUntil <= now) return kShortestResumeDelay;
  const auto microseconds = static_cast<std::uint64_t>(pausedUntil.time_since_epoch().count()) -
                            static_cast<std::uint64_t>(now.time_since_epoch().count());
  // Half a microsecond more, so that rounding never ends the wait before the pause.
  const Seconds left{(static_cast<double>(microseconds) + 0.5) / 1e6};
  return std::max(kShortestResumeDelay, left);
}

}  // namespace quillard
