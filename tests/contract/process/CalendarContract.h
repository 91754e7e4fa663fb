#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/process/Calendar.h"

namespace quillard::test {

// Where the computer is. What the clocks show, for the dates of 2026 and 2027.
enum class TestZone {
  utc,
  twoHoursEast,
  nineHoursEast,
  fourteenHoursEast,
  centralEurope,       // An hour east of UTC; the clocks change at one o'clock UTC, in March and October.
  changingAtMidnight,  // Clocks go from 00:00 to 01:00 in September, and in April from 24:00 back to 23:00.
  halfAnHour,          // Clocks change by half an hour.
};

class CalendarBinding {
 public:
  CalendarBinding() = default;
  CalendarBinding(const CalendarBinding&) = delete;
  CalendarBinding& operator=(const CalendarBinding&) = delete;
  virtual ~CalendarBinding() = default;

  // In UTC at first.
  virtual const platform::Calendar& calendar() = 0;
  virtual void moveTo(TestZone zone) = 0;
};

using MakeCalendar = std::unique_ptr<CalendarBinding> (*)();

class CalendarContract : public testing::TestWithParam<MakeCalendar> {
 protected:
  const std::unique_ptr<CalendarBinding> binding = GetParam()();
  const platform::Calendar& calendar = binding->calendar();
};

}  // namespace quillard::test
