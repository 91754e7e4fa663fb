#pragma once

#include "platform/process/Calendar.h"

namespace quillard::desktop {

// The calendar of the time zone that the system (or TZ) is set to, as it is at each call. A change of the setting is
// followed without a restart.
//
// `dateByAddingDays` onto a time of day that is skipped gives the first moment after the gap; onto one that is shown
// twice, the one with the offset of the date that it starts from, else the first.
class SystemCalendar final : public platform::Calendar {
 public:
  [[nodiscard]] std::optional<Date> dateByAddingDays(int days, Date date) const override;
  [[nodiscard]] Date startOfDay(Date date) const override;
  [[nodiscard]] std::optional<Date> dateBySettingHour(int hour, Date date) const override;
};

}  // namespace quillard::desktop
