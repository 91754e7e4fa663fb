#include <chrono>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "platform/posix/SystemCalendar.h"

namespace quillard::desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

Date utc(std::chrono::year_month_day day, std::chrono::minutes time = 0min) { return sys_days{day} + time; }

constexpr auto kSpring = std::chrono::March / 29 / 2026;
constexpr auto kAutumn = std::chrono::October / 25 / 2026;

// Rules of zones as the system reads them, so that no table of zones needs to be installed.
// An hour east of UTC; the clocks change at one o'clock UTC.
constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
// Clocks go from 00:00 to 01:00, and months later from 24:00 back to 23:00.
constexpr const char* kChangingAtMidnight = "<-04>4<-03>,M9.1.0/0,M4.1.0/0";
constexpr const char* kNineHoursEast = "<+09>-9";
// By half an hour, as on one island.
constexpr const char* kHalfAnHour = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";

// The system's time zone, for as long as this lives.
class Zone {
 public:
  explicit Zone(const char* rule) {
    if (const char* const before = std::getenv("TZ")) former = before;
    ::setenv("TZ", rule, 1);
  }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;
  ~Zone() {
    former ? ::setenv("TZ", former->c_str(), 1) : ::unsetenv("TZ");
    ::tzset();
  }

 private:
  std::optional<std::string> former;
};

const SystemCalendar calendar;

TEST(SystemCalendar, FollowsUtc) {
  const Zone zone("UTC0");
  const Date date = utc(std::chrono::January / 15 / 2026, 13h + 37min);
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026));
  EXPECT_EQ(calendar.dateByAddingDays(1, date), utc(std::chrono::January / 16 / 2026, 13h + 37min));
  EXPECT_EQ(calendar.dateByAddingDays(-15, date), utc(std::chrono::December / 31 / 2025, 13h + 37min));
  EXPECT_EQ(calendar.dateBySettingHour(8, date), utc(std::chrono::January / 15 / 2026, 8h));
}

TEST(SystemCalendar, DaysBeginWhereTheComputerIs) {
  const Zone zone(kNineHoursEast);
  const Date date = utc(std::chrono::January / 15 / 2026, 16h);  // 01:00 of the 16th there.
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026, 15h));
  EXPECT_EQ(calendar.dateBySettingHour(8, date), utc(std::chrono::January / 15 / 2026, 23h));
}

TEST(SystemCalendar, ADayLaterKeepsTheTimeOfDayAcrossAChange) {
  const Zone zone(kCentralEurope);
  const Date evening = utc(std::chrono::March / 28 / 2026, 20h);  // 21:00.
  EXPECT_EQ(calendar.dateByAddingDays(1, evening), utc(kSpring, 19h));
  EXPECT_EQ(calendar.dateByAddingDays(-1, utc(kSpring, 19h)), evening);
  EXPECT_EQ(calendar.dateByAddingDays(1, utc(std::chrono::October / 24 / 2026, 18h)), utc(kAutumn, 19h));
}

TEST(SystemCalendar, ATimeThatIsSkippedBecomesTheFirstMomentAfterTheGap) {
  const Zone zone(kCentralEurope);
  const Date afternoon = utc(kSpring, 14h);
  EXPECT_EQ(calendar.dateBySettingHour(1, afternoon), utc(kSpring, 0h));
  EXPECT_EQ(calendar.dateBySettingHour(2, afternoon), utc(kSpring, 1h));
  EXPECT_EQ(calendar.dateBySettingHour(3, afternoon), utc(kSpring, 1h));
  const Date halfPastTwo = utc(std::chrono::March / 28 / 2026, 1h + 30min);
  EXPECT_EQ(calendar.dateByAddingDays(1, halfPastTwo), utc(kSpring, 1h));
  EXPECT_EQ(calendar.dateByAddingDays(1, halfPastTwo + 1us), utc(kSpring, 1h));
}

TEST(SystemCalendar, AnHourThatIsShownTwiceIsTheFirstOfThem) {
  const Zone zone(kCentralEurope);
  EXPECT_EQ(calendar.dateBySettingHour(2, utc(kAutumn, 14h)), utc(kAutumn, 0h));
  EXPECT_EQ(calendar.dateBySettingHour(3, utc(kAutumn, 14h)), utc(kAutumn, 2h));
  const Date second = utc(kAutumn, 1h + 30min);  // 02:30 for the second time.
  EXPECT_EQ(calendar.dateByAddingDays(0, second), second);
  EXPECT_EQ(calendar.dateByAddingDays(0, utc(kAutumn, 30min)), utc(kAutumn, 30min));
}

TEST(SystemCalendar, DaysMayBeginAtOneOClock) {
  const Zone zone(kChangingAtMidnight);
  const auto day = std::chrono::September / 6 / 2026;
  EXPECT_EQ(calendar.startOfDay(utc(day, 20h)), utc(day, 4h));
  EXPECT_EQ(calendar.startOfDay(utc(day, 4h)), utc(day, 4h));
  EXPECT_EQ(calendar.startOfDay(utc(day, 3h + 59min)), utc(std::chrono::September / 5 / 2026, 4h));
  EXPECT_EQ(calendar.dateBySettingHour(0, utc(day, 20h)), utc(day, 4h));
  EXPECT_EQ(calendar.dateBySettingHour(8, utc(day, 20h)), utc(day, 11h));
}

TEST(SystemCalendar, TheLastHourOfADayMayComeTwice) {
  const Zone zone(kChangingAtMidnight);
  const Date change = utc(std::chrono::April / 4 / 2027, 3h);  // 24:00 becomes 23:00 of the 3rd.
  EXPECT_EQ(calendar.startOfDay(change), utc(std::chrono::April / 3 / 2027, 3h));
  EXPECT_EQ(calendar.startOfDay(change + 1h), change + 1h);
  EXPECT_EQ(calendar.startOfDay(change + 20h), change + 1h);
  EXPECT_EQ(calendar.dateBySettingHour(23, change), change - 1h);
}

TEST(SystemCalendar, ADayThatWasLeftOutEndsWhereTheNextOneBegins) {
  const Zone zone(":Pacific/Apia");
  const Date lastMoment = utc(std::chrono::December / 30 / 2011, 9h + 59min);  // 23:59 of the 29th.
  std::time_t time = std::chrono::system_clock::to_time_t(lastMoment);
  std::tm shown{};
  ::tzset();
  if (::localtime_r(&time, &shown)->tm_mday != 29) GTEST_SKIP() << "The system has no table of this time zone.";
  const Date next = utc(std::chrono::December / 30 / 2011, 10h);  // 00:00 of the 31st.
  EXPECT_EQ(calendar.startOfDay(lastMoment + 2min), next);
  EXPECT_EQ(calendar.dateByAddingDays(1, lastMoment), next);
  EXPECT_EQ(calendar.dateByAddingDays(2, lastMoment), lastMoment + 24h);
}

TEST(SystemCalendar, CannotTellBeyondTheEndsOfTime) {
  const Zone zone("<+14>-14");
  EXPECT_EQ(calendar.dateByAddingDays(1, Date::max()), std::nullopt);
  EXPECT_EQ(calendar.dateBySettingHour(8, Date::min()), std::nullopt);
  EXPECT_EQ(calendar.dateByAddingDays(std::numeric_limits<int>::max(), Date{}), std::nullopt);
  EXPECT_EQ(calendar.startOfDay(Date::max()), Date::max());
}

TEST(SystemCalendar, TheZoneMayChangeUnderWay) {
  const Date date = utc(std::chrono::January / 15 / 2026, 23h);
  {
    const Zone zone("UTC0");
    EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026));
  }
  const Zone zone("EET-2");
  EXPECT_EQ(calendar.startOfDay(date), utc(std::chrono::January / 15 / 2026, 22h));
}

RC_GTEST_PROP(SystemCalendar, TheStartOfADayIsItsFirstMoment, ()) {
  const Zone zone(*rc::gen::element(kCentralEurope, kChangingAtMidnight, kNineHoursEast, kHalfAnHour));
  const Date date =
      utc(std::chrono::January / 1 / 2026) + std::chrono::minutes{*rc::gen::inRange(0, 2 * 365 * 24 * 60)};
  const Date start = calendar.startOfDay(date);
  RC_ASSERT(start <= date);
  RC_ASSERT(date - start < 25h);
  RC_ASSERT(calendar.startOfDay(start) == start);
  RC_ASSERT(calendar.startOfDay(start - 1us) < start);
}

RC_GTEST_PROP(SystemCalendar, ADayForthAndADayBackIsTheSameMomentUnlessItIsSkipped, ()) {
  const Zone zone(*rc::gen::element(kCentralEurope, kChangingAtMidnight, kNineHoursEast, kHalfAnHour));
  const Date date =
      utc(std::chrono::January / 1 / 2026) + std::chrono::minutes{*rc::gen::inRange(0, 2 * 365 * 24 * 60)};
  const auto forth = calendar.dateByAddingDays(1, date);
  RC_ASSERT(forth.has_value());
  const auto back = calendar.dateByAddingDays(-1, *forth);
  RC_ASSERT(back.has_value());
  const auto difference = *back > date ? *back - date : date - *back;
  RC_ASSERT(difference <= 1h);
  RC_ASSERT(*forth - date >= 23h);
  RC_ASSERT(*forth - date <= 25h);
}

}  // namespace
}  // namespace quillard::desktop
