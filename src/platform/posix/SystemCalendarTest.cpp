#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/posix/SystemCalendar.h"

namespace quillard::desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

Date utc(std::chrono::year_month_day day, std::chrono::minutes time = 0min) { return sys_days{day} + time; }

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

}  // namespace
}  // namespace quillard::desktop
