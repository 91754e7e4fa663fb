#include <chrono>
#include <optional>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedCalendar.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;

TEST(SimulatedCalendar, MayBeUnableToCompute) {
  SimulatedCalendar calendar;
  const Date day = std::chrono::sys_days{std::chrono::January / 15 / 2026};
  calendar.setUnableToCompute(true);
  EXPECT_EQ(calendar.dateByAddingDays(1, day + 13h), std::nullopt);
  EXPECT_EQ(calendar.dateBySettingHour(8, day + 13h), std::nullopt);
  EXPECT_EQ(calendar.startOfDay(day + 13h), day);
  calendar.setUnableToCompute(false);
  EXPECT_TRUE(calendar.dateByAddingDays(1, day + 13h).has_value());
}

}  // namespace
}  // namespace quillard::platform::simulated
