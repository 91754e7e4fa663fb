#pragma once

#include "platform/Calendar.h"

namespace quillard::desktop {

// The calendar of the time zone that the system (or TZ) is set to, as it is at each call. A change of the setting is
// followed without a restart.
//
// `dateByAddingDays` onto a time of day that is skipped gives the first moment after the gap; onto one that is shown
// twice, the one with the offset of the date that it starts from, else the first.
class SystemCalendar final : public platform::Calendar {
 public:
  [[nodiscard]] std::optional<platform::Date> dateByAddingDays(int days, platform::Date date) const override;
  [[nodiscard]] platform::Date startOfDay(platform::Date date) const override;
  [[nodiscard]] std::optional<platform::Date> dateBySettingHour(int hour, platform::Date date) const override;
};

}  // namespace quillard::desktop
