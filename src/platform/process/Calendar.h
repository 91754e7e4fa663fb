#pragma once

#include <optional>

#include "values/Time.h"

namespace quillard::platform {

// The user's calendar: days and times of day where the computer is, with its changes of the clocks. Any thread.
class Calendar {
 public:
  virtual ~Calendar() = default;

  // The same time of day `days` calendar days later (negative: earlier). Absent when the calendar cannot tell.
  [[nodiscard]] virtual std::optional<Date> dateByAddingDays(int days, Date date) const = 0;

  // The first moment of the local day that `date` falls in.
  [[nodiscard]] virtual Date startOfDay(Date date) const = 0;

  // The moment at which the clocks show `hour`:00 on the local day that `date` falls in; the first such moment when
  // clocks set back show it twice, the first moment after the gap when clocks set forward skip it. `hour` is 0 to 23.
  // Absent when the calendar cannot tell.
  [[nodiscard]] virtual std::optional<Date> dateBySettingHour(int hour, Date date) const = 0;
};

}  // namespace quillard::platform
