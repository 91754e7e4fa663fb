#include <chrono>
#include <optional>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "platform/simulated/SimulatedCalendar.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

Date utc(std::chrono::year_month_day day, std::chrono::minutes time = 0min) { return sys_days{day} + time; }

constexpr auto kSpring = std::chrono::March / 29 / 2026;
constexpr auto kAutumn = std::chrono::October / 25 / 2026;

// An hour east of UTC; the clocks change at one o'clock UTC.
SimulatedZone centralEurope() { return {.offset = 1h, .changes = {{utc(kSpring, 1h), 2h}, {utc(kAutumn, 1h), 1h}}}; }

// Clocks go from 00:00 to 01:00, and months later from 24:00 back to 23:00.
SimulatedZone changingAtMidnight() {
  return {
      .offset = -4h,
      .changes = {{utc(std::chrono::September / 6 / 2026, 4h), -3h}, {utc(std::chrono::April / 4 / 2027, 3h), -4h}}};
}

TEST(SimulatedCalendar, IsUtcByDefault) {
  const SimulatedCalendar calendar;
  const Date date = utc(std::chrono::January / 15 / 2026, 13h + 37min);
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026));
  EXPECT_EQ(calendar.dateByAddingDays(1, date), utc(std::chrono::January / 16 / 2026, 13h + 37min));
  EXPECT_EQ(calendar.dateByAddingDays(-15, date), utc(std::chrono::December / 31 / 2025, 13h + 37min));
  EXPECT_EQ(calendar.dateBySettingHour(8, date), utc(std::chrono::January / 15 / 2026, 8h));
}

TEST(SimulatedCalendar, DaysBeginWhereTheComputerIs) {
  const SimulatedCalendar calendar{{.offset = 9h}};
  const Date date = utc(std::chrono::January / 15 / 2026, 16h);  // 01:00 of the 16th there.
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026, 15h));
  EXPECT_EQ(calendar.dateBySettingHour(8, date), utc(std::chrono::January / 15 / 2026, 23h));
}

TEST(SimulatedCalendar, ADayLaterKeepsTheTimeOfDayAcrossAChange) {
  const SimulatedCalendar calendar{centralEurope()};
  const Date evening = utc(std::chrono::March / 28 / 2026, 20h);  // 21:00.
  EXPECT_EQ(calendar.dateByAddingDays(1, evening), utc(kSpring, 19h));
  EXPECT_EQ(calendar.dateByAddingDays(-1, utc(kSpring, 19h)), evening);
  EXPECT_EQ(calendar.dateByAddingDays(1, utc(std::chrono::October / 24 / 2026, 18h)), utc(kAutumn, 19h));
}

TEST(SimulatedCalendar, ATimeThatIsSkippedBecomesTheFirstMomentAfterTheGap) {
  const SimulatedCalendar calendar{centralEurope()};
  const Date afternoon = utc(kSpring, 14h);
  EXPECT_EQ(calendar.dateBySettingHour(1, afternoon), utc(kSpring, 0h));
  EXPECT_EQ(calendar.dateBySettingHour(2, afternoon), utc(kSpring, 1h));
  EXPECT_EQ(calendar.dateBySettingHour(3, afternoon), utc(kSpring, 1h));
  const Date halfPastTwo = utc(std::chrono::March / 28 / 2026, 1h + 30min);
  EXPECT_EQ(calendar.dateByAddingDays(1, halfPastTwo), utc(kSpring, 1h));
}

TEST(SimulatedCalendar, AnHourThatIsShownTwiceIsTheFirstOfThem) {
  const SimulatedCalendar calendar{centralEurope()};
  EXPECT_EQ(calendar.dateBySettingHour(2, utc(kAutumn, 14h)), utc(kAutumn, 0h));
  EXPECT_EQ(calendar.dateBySettingHour(3, utc(kAutumn, 14h)), utc(kAutumn, 2h));
  const Date second = utc(kAutumn, 1h + 30min);  // 02:30 for the second time.
  EXPECT_EQ(calendar.dateByAddingDays(0, second), second);
  EXPECT_EQ(calendar.dateByAddingDays(0, utc(kAutumn, 30min)), utc(kAutumn, 30min));
}

TEST(SimulatedCalendar, DaysMayBeginAtOneOClock) {
  const SimulatedCalendar calendar{changingAtMidnight()};
  const auto day = std::chrono::September / 6 / 2026;
  EXPECT_EQ(calendar.startOfDay(utc(day, 20h)), utc(day, 4h));
  EXPECT_EQ(calendar.startOfDay(utc(day, 4h)), utc(day, 4h));
  EXPECT_EQ(calendar.startOfDay(utc(day, 3h + 59min)), utc(std::chrono::September / 5 / 2026, 4h));
  EXPECT_EQ(calendar.dateBySettingHour(0, utc(day, 20h)), utc(day, 4h));
  EXPECT_EQ(calendar.dateBySettingHour(8, utc(day, 20h)), utc(day, 11h));
}

TEST(SimulatedCalendar, TheLastHourOfADayMayComeTwice) {
  const SimulatedCalendar calendar{changingAtMidnight()};
  const Date change = utc(std::chrono::April / 4 / 2027, 3h);  // 24:00 becomes 23:00 of the 3rd.
  EXPECT_EQ(calendar.startOfDay(change), utc(std::chrono::April / 3 / 2027, 3h));
  EXPECT_EQ(calendar.startOfDay(change + 1h), change + 1h);
  EXPECT_EQ(calendar.startOfDay(change + 20h), change + 1h);
  EXPECT_EQ(calendar.dateBySettingHour(23, change), change - 1h);
}

TEST(SimulatedCalendar, MayBeUnableToCompute) {
  SimulatedCalendar calendar;
  const Date date = utc(std::chrono::January / 15 / 2026, 13h);
  calendar.setUnableToCompute(true);
  EXPECT_EQ(calendar.dateByAddingDays(1, date), std::nullopt);
  EXPECT_EQ(calendar.dateBySettingHour(8, date), std::nullopt);
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026));
  calendar.setUnableToCompute(false);
  EXPECT_TRUE(calendar.dateByAddingDays(1, date).has_value());
}

TEST(SimulatedCalendar, CannotTellBeyondTheEndsOfTime) {
  const SimulatedCalendar calendar{{.offset = 14h}};
  EXPECT_EQ(calendar.dateByAddingDays(1, Date::max()), std::nullopt);
  EXPECT_EQ(calendar.dateBySettingHour(8, Date::min()), std::nullopt);
  EXPECT_EQ(calendar.dateByAddingDays(std::numeric_limits<int>::max(), Date{}), std::nullopt);
  EXPECT_EQ(calendar.startOfDay(Date::max()), Date::max());
}

TEST(SimulatedCalendar, TheZoneMayChangeUnderWay) {
  SimulatedCalendar calendar;
  const Date date = utc(std::chrono::January / 15 / 2026, 23h);
  calendar.setZone({.offset = 2h});
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026, 22h));
}

RC_GTEST_PROP(SimulatedCalendar, TheStartOfADayIsItsFirstMoment, ()) {
  const bool atMidnight = *rc::gen::arbitrary<bool>();
  const SimulatedCalendar calendar{atMidnight ? changingAtMidnight() : centralEurope()};
  const Date date =
      utc(std::chrono::January / 1 / 2026) + std::chrono::minutes{*rc::gen::inRange(0, 2 * 365 * 24 * 60)};
  const Date start = calendar.startOfDay(date);
  RC_ASSERT(start <= date);
  RC_ASSERT(date - start < 25h);
  RC_ASSERT(calendar.startOfDay(start) == start);
  RC_ASSERT(calendar.startOfDay(start - 1us) < start);
}

}  // namespace
}  // namespace quillard::platform::simulated
