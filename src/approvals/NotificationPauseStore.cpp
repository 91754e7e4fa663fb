#include "approvals/NotificationPauseStore.h"

namespace quillard {

namespace {

constexpr Seconds kTwoHours{7200};
constexpr Seconds kFourHours{14400};
constexpr Seconds kOneDay{86400};
constexpr int kMorningHour = 9;
constexpr Seconds kMidnightToMorning{32400};

template <class T>
std::optional<T> stored(const platform::UserDefaults& defaults, std::string_view key) {
  const auto value = defaults.object(key);
  const auto* typed = value ? std::get_if<T>(&*value) : nullptr;
  return typed ? std::optional<T>{*typed} : std::nullopt;
}

}  // namespace

NotificationPauseStore::NotificationPauseStore(platform::UserDefaults& defaults) : defaults(defaults) {}

NotificationPauseSnapshot NotificationPauseStore::snapshot() const {
  return {stored<Date>(defaults, untilKey), stored<bool>(defaults, indefinitelyKey).value_or(false)};
}

void NotificationPauseStore::apply(NotificationPauseOption option, Date now, const platform::Calendar& calendar) {
  switch (option) {
    case NotificationPauseOption::twoHours:
      return pause(kTwoHours, now);
    case NotificationPauseOption::fourHours:
      return pause(kFourHours, now);
    case NotificationPauseOption::untilTomorrow:
      return pauseUntilTomorrow(now, calendar);
    case NotificationPauseOption::indefinitely:
      return pauseIndefinitely();
  }
}

void NotificationPauseStore::pause(Seconds duration, Date from) { pauseUntil(advanced(from, duration)); }

void NotificationPauseStore::pauseUntilTomorrow(Date from, const platform::Calendar& calendar) {
  const Date tomorrow = calendar.dateByAddingDays(1, from).value_or(advanced(from, kOneDay));
  const Date start = calendar.startOfDay(tomorrow);
  pauseUntil(calendar.dateBySettingHour(kMorningHour, start).value_or(advanced(start, kMidnightToMorning)));
}

void NotificationPauseStore::pauseIndefinitely() {
  defaults.remove(untilKey);
  defaults.set(indefinitelyKey, true);
}

void NotificationPauseStore::resume() {
  defaults.remove(untilKey);
  defaults.set(indefinitelyKey, false);
}

void NotificationPauseStore::pruneExpired(Date now) {
  const auto pause = snapshot();
  if (!pause.pausesIndefinitely && pause.pausedUntil && *pause.pausedUntil <= now) defaults.remove(untilKey);
}

void NotificationPauseStore::pauseUntil(Date end) {
  defaults.set(untilKey, end);
  defaults.set(indefinitelyKey, false);
}

}  // namespace quillard
