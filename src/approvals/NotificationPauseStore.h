#pragma once

#include <optional>
#include <string_view>

#include "platform/process/Calendar.h"
#include "platform/storage/UserDefaults.h"
#include "values/Time.h"

namespace quillard {

enum class NotificationPauseOption { twoHours, fourHours, untilTomorrow, indefinitely };

struct NotificationPauseSnapshot {
  std::optional<Date> pausedUntil;  // The end of a timed pause; absent: there is none.
  bool pausesIndefinitely = false;

  [[nodiscard]] bool isPaused() const { return pausesIndefinitely || pausedUntil.has_value(); }
  bool operator==(const NotificationPauseSnapshot&) const = default;
};

// The pause of the phone's alerts, kept in the user's settings. States: not paused; paused until a time; paused until
// resumed. A timed pause that has run out stays until `pruneExpired` takes it away. Main thread.
class NotificationPauseStore {
 public:
  static constexpr std::string_view untilKey = "quillard.notifications-paused-until";
  static constexpr std::string_view indefinitelyKey = "quillard.notifications-paused-indefinitely";

  // `defaults` outlives this.
  explicit NotificationPauseStore(platform::UserDefaults& defaults);

  [[nodiscard]] NotificationPauseSnapshot snapshot() const;

  // Each takes the place of whatever pause there was.
  void apply(NotificationPauseOption option, Date now, const platform::Calendar& calendar);
  void pause(Seconds duration, Date from);
  // Until 09:00 by the local calendar on the day after `from`, also where the clocks change before nine.
  void pauseUntilTomorrow(Date from, const platform::Calendar& calendar);
  void pauseIndefinitely();

  void resume();

  // Ends a timed pause whose end is `now` or earlier. A pause without end stays.
  void pruneExpired(Date now);

 private:
  void pauseUntil(Date end);

  platform::UserDefaults& defaults;
};

}  // namespace quillard
