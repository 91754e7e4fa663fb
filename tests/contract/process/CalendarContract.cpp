#include "contract/process/CalendarContract.h"

#include <chrono>
#include <limits>
#include <optional>

#include <rapidcheck.h>

namespace quillard::test {

using namespace std::chrono_literals;

namespace {

using std::chrono::sys_days;

Date utc(std::chrono::year_month_day day, std::chrono::minutes time = 0min) { return sys_days{day} + time; }

constexpr auto kSpring = std::chrono::March / 29 / 2026;
constexpr auto kAutumn = std::chrono::October / 25 / 2026;

}  // namespace

TEST_P(CalendarContract, IsInUtcAtFirst) {
  const Date date = utc(std::chrono::January / 15 / 2026, 13h + 37min);
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026));
  EXPECT_EQ(calendar.dateByAddingDays(1, date), utc(std::chrono::January / 16 / 2026, 13h + 37min));
  EXPECT_EQ(calendar.dateByAddingDays(-15, date), utc(std::chrono::December / 31 / 2025, 13h + 37min));
  EXPECT_EQ(calendar.dateBySettingHour(8, date), utc(std::chrono::January / 15 / 2026, 8h));
}

TEST_P(CalendarContract, DaysBeginWhereTheComputerIs) {
  binding->moveTo(TestZone::nineHoursEast);
  const Date date = utc(std::chrono::January / 15 / 2026, 16h);  // 01:00 of the 16th there.
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026, 15h));
  EXPECT_EQ(calendar.dateBySettingHour(8, date), utc(std::chrono::January / 15 / 2026, 23h));
}

TEST_P(CalendarContract, ADayLaterKeepsTheTimeOfDayAcrossAChange) {
  binding->moveTo(TestZone::centralEurope);
  const Date evening = utc(std::chrono::March / 28 / 2026, 20h);  // 21:00.
  EXPECT_EQ(calendar.dateByAddingDays(1, evening), utc(kSpring, 19h));
  EXPECT_EQ(calendar.dateByAddingDays(-1, utc(kSpring, 19h)), evening);
  EXPECT_EQ(calendar.dateByAddingDays(1, utc(std::chrono::October / 24 / 2026, 18h)), utc(kAutumn, 19h));
}

TEST_P(CalendarContract, ATimeThatIsSkippedBecomesTheFirstInstantAfterTheGap) {
  binding->moveTo(TestZone::centralEurope);
  const Date afternoon = utc(kSpring, 14h);
  EXPECT_EQ(calendar.dateBySettingHour(1, afternoon), utc(kSpring, 0h));
  EXPECT_EQ(calendar.dateBySettingHour(2, afternoon), utc(kSpring, 1h));
  EXPECT_EQ(calendar.dateBySettingHour(3, afternoon), utc(kSpring, 1h));
  const Date halfPastTwo = utc(std::chrono::March / 28 / 2026, 1h + 30min);
  EXPECT_EQ(calendar.dateByAddingDays(1, halfPastTwo), utc(kSpring, 1h));
  EXPECT_EQ(calendar.dateByAddingDays(1, halfPastTwo + 1us), utc(kSpring, 1h));
}

TEST_P(CalendarContract, AnHourThatIsShownTwiceIsTheFirstOfThem) {
  binding->moveTo(TestZone::centralEurope);
  EXPECT_EQ(calendar.dateBySettingHour(2, utc(kAutumn, 14h)), utc(kAutumn, 0h));
  EXPECT_EQ(calendar.dateBySettingHour(3, utc(kAutumn, 14h)), utc(kAutumn, 2h));
  const Date second = utc(kAutumn, 1h + 30min);  // 02:30 for the second time.
  EXPECT_EQ(calendar.dateByAddingDays(0, second), second);
  EXPECT_EQ(calendar.dateByAddingDays(0, utc(kAutumn, 30min)), utc(kAutumn, 30min));
}

TEST_P(CalendarContract, DaysMayBeginAtOneOClock) {
  binding->moveTo(TestZone::changingAtMidnight);
  const auto day = std::chrono::September / 6 / 2026;
  EXPECT_EQ(calendar.startOfDay(utc(day, 20h)), utc(day, 4h));
  EXPECT_EQ(calendar.startOfDay(utc(day, 4h)), utc(day, 4h));
  EXPECT_EQ(calendar.startOfDay(utc(day, 3h + 59min)), utc(std::chrono::September / 5 / 2026, 4h));
  EXPECT_EQ(calendar.dateBySettingHour(0, utc(day, 20h)), utc(day, 4h));
  EXPECT_EQ(calendar.dateBySettingHour(8, utc(day, 20h)), utc(day, 11h));
}

TEST_P(CalendarContract, TheLastHourOfADayMayComeTwice) {
  binding->moveTo(TestZone::changingAtMidnight);
  const Date change = utc(std::chrono::April / 4 / 2027, 3h);  // 24:00 becomes 23:00 of the 3rd.
  EXPECT_EQ(calendar.startOfDay(change), utc(std::chrono::April / 3 / 2027, 3h));
  EXPECT_EQ(calendar.startOfDay(change + 1h), change + 1h);
  EXPECT_EQ(calendar.startOfDay(change + 20h), change + 1h);
  EXPECT_EQ(calendar.dateBySettingHour(23, change), change - 1h);
}

TEST_P(CalendarContract, CannotTellBeyondTheEndsOfTime) {
  binding->moveTo(TestZone::fourteenHoursEast);
  EXPECT_EQ(calendar.dateByAddingDays(1, Date::max()), std::nullopt);
  EXPECT_EQ(calendar.dateBySettingHour(8, Date::min()), std::nullopt);
  EXPECT_EQ(calendar.dateByAddingDays(std::numeric_limits<int>::max(), Date{}), std::nullopt);
  EXPECT_EQ(calendar.startOfDay(Date::max()), Date::max());
}

TEST_P(CalendarContract, TheZoneMayChangeUnderWay) {
  const Date date = utc(std::chrono::January / 15 / 2026, 23h);
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026));
  binding->moveTo(TestZone::twoHoursEast);
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026, 22h));
}

// Some minute of the two years, in some zone.
static Date anyDateIn(CalendarBinding& binding) {
  binding.moveTo(*rc::gen::element(TestZone::centralEurope, TestZone::changingAtMidnight, TestZone::nineHoursEast,
                                   TestZone::halfAnHour));
  return utc(std::chrono::January / 1 / 2026) + std::chrono::minutes{*rc::gen::inRange(0, 2 * 365 * 24 * 60)};
}

TEST_P(CalendarContract, TheStartOfADayIsItsFirstInstant) {
  EXPECT_TRUE(rc::check("The start of a day is its first instant", [&] {
    const Date date = anyDateIn(*binding);
    const Date start = calendar.startOfDay(date);
    RC_ASSERT(start <= date);
    RC_ASSERT(date - start < 25h);
    RC_ASSERT(calendar.startOfDay(start) == start);
    RC_ASSERT(calendar.startOfDay(start - 1us) < start);
  }));
}

TEST_P(CalendarContract, ADayForthAndADayBackIsTheSameTimeUnlessItIsSkipped) {
  EXPECT_TRUE(rc::check("A day forth and a day back is the same time unless it is skipped", [&] {
    const Date date = anyDateIn(*binding);
    const auto forth = calendar.dateByAddingDays(1, date);
    RC_ASSERT(forth.has_value());
    const auto back = calendar.dateByAddingDays(-1, *forth);
    RC_ASSERT(back.has_value());
    const auto difference = *back > date ? *back - date : date - *back;
    RC_ASSERT(difference <= 1h);
    RC_ASSERT(*forth - date >= 23h);
    RC_ASSERT(*forth - date <= 25h);
  }));
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CalendarContract);

}  // namespace quillard::test
