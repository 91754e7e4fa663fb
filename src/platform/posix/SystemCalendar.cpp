#include "platform/posix/SystemCalendar.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

namespace quillard::desktop {
namespace {

using std::chrono::hours;
using std::chrono::seconds;

// What the clocks show, as if it were UTC. A type of its own, so that it is not taken for a moment.
using LocalTime = std::chrono::local_time<Date::duration>;

// How far from UTC clocks can be, with room for a day that was left out whole.
constexpr hours kReach{50};

seconds offsetAt(Date moment) {
  const auto whole = std::chrono::floor<seconds>(moment).time_since_epoch().count();
  const auto time = static_cast<std::time_t>(whole);
  std::tm shown{};
  return seconds{::localtime_r(&time, &shown) ? shown.tm_gmtoff : 0};
}

LocalTime shownAt(Date moment) { return LocalTime{moment.time_since_epoch() + offsetAt(moment)}; }

// The moments around that of `time`, an hour apart: no zone changes its clocks twice within one.
template <class Use>
void forEachHourAround(LocalTime time, Use use) {
  const Date middle{time.time_since_epoch()};
  for (Date moment = middle - kReach; moment <= middle + kReach; moment += hours{1}) use(moment);
}

// The moments at which the clocks show `time`, by time: none in a gap, two in a doubled hour.
std::vector<Date> momentsShowing(LocalTime time) {
  std::vector<seconds> offsets;
  forEachHourAround(time, [&](Date moment) {
    const seconds offset = offsetAt(moment);
    if (std::find(offsets.begin(), offsets.end(), offset) == offsets.end()) offsets.push_back(offset);
  });
  std::vector<Date> moments;
  for (const seconds offset : offsets) {
    const Date moment{time.time_since_epoch() - offset};
    if (shownAt(moment) == time) moments.push_back(moment);
  }
  std::sort(moments.begin(), moments.end());
  return moments;
}

// The moment between the two, at a whole second, from which on the clocks show more than `time`.
Date changeBetween(Date before, Date after, LocalTime time) {
  while (after - before > seconds{1}) {
    const Date middle = std::chrono::floor<seconds>(before + (after - before) / 2);
    (shownAt(middle) > time ? after : before) = middle;
  }
  return after;
}

// The moment at which the clocks skip `time`.
Date endOfGap(LocalTime time) {
  Date end{time.time_since_epoch() - offsetAt(Date{time.time_since_epoch()})};
  bool isFound = false;
  forEachHourAround(time, [&](Date moment) {
    const Date before = std::chrono::floor<seconds>(moment - hours{1});
    const Date after = std::chrono::floor<seconds>(moment);
    if (isFound || shownAt(before) >= time || shownAt(after) <= time) return;
    end = changeBetween(before, after, time);
    isFound = true;
  });
  return end;
}

Date firstMomentFrom(LocalTime time) {
  const std::vector<Date> moments = momentsShowing(time);
  return moments.empty() ? endOfGap(time) : moments.front();
}

LocalTime midnightBefore(Date date) { return std::chrono::floor<std::chrono::days>(shownAt(date)); }

// Beyond, sums of days and offsets would not fit. Some seventy thousand years.
bool isWithinReach(Date date) {
  const auto distance = date.time_since_epoch();
  return distance < Date::duration::max() / 4 && distance > Date::duration::min() / 4;
}

}  // namespace

std::optional<Date> SystemCalendar::dateByAddingDays(int days, Date date) const {
  constexpr int kMostDays = 25'000'000;
  if (!isWithinReach(date) || days > kMostDays || days < -kMostDays) return std::nullopt;
  ::tzset();
  const LocalTime wanted = shownAt(date) + std::chrono::days{days};
  const seconds offset = offsetAt(date);
  for (const Date moment : momentsShowing(wanted)) {
    if (offsetAt(moment) == offset) return moment;
  }
  return firstMomentFrom(wanted);
}

Date SystemCalendar::startOfDay(Date date) const {
  if (!isWithinReach(date)) return date;
  ::tzset();
  return firstMomentFrom(midnightBefore(date));
}

std::optional<Date> SystemCalendar::dateBySettingHour(int hour, Date date) const {
  if (!isWithinReach(date)) return std::nullopt;
  ::tzset();
  return firstMomentFrom(midnightBefore(date) + hours{hour});
}

}  // namespace quillard::desktop
