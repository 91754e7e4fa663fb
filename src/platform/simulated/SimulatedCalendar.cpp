#include "platform/simulated/SimulatedCalendar.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quillard::platform::simulated {

namespace {

// What the clocks show, as if it were UTC. A type of its own, so that it is not taken for a moment.
using LocalTime = std::chrono::local_time<Date::duration>;

std::chrono::seconds offsetAt(const SimulatedZone& zone, Date moment) {
  std::chrono::seconds offset = zone.offset;
  for (const ZoneChange& change : zone.changes) {
    if (change.at <= moment) offset = change.offset;
  }
  return offset;
}

LocalTime shownAt(const SimulatedZone& zone, Date moment) {
  return LocalTime{moment.time_since_epoch() + offsetAt(zone, moment)};
}

// The moments at which the clocks show `time`, by time: none in a gap, two in a doubled hour.
std::vector<Date> momentsShowing(const SimulatedZone& zone, LocalTime time) {
  std::vector<Date> moments{Date{time.time_since_epoch() - zone.offset}};
  for (const ZoneChange& change : zone.changes) moments.emplace_back(time.time_since_epoch() - change.offset);
  std::erase_if(moments, [&](Date moment) { return shownAt(zone, moment) != time; });
  std::sort(moments.begin(), moments.end());
  return moments;
}

// The change by which the clocks skip `time`.
Date endOfGap(const SimulatedZone& zone, LocalTime time) {
  const auto skips = [&](const ZoneChange& change) {
    return shownAt(zone, change.at - Date::duration{1}) < time && shownAt(zone, change.at) > time;
  };
  const auto found = std::find_if(zone.changes.begin(), zone.changes.end(), skips);
  return found == zone.changes.end() ? Date{time.time_since_epoch() - zone.offset} : found->at;
}

Date firstMomentFrom(const SimulatedZone& zone, LocalTime time) {
  const std::vector<Date> moments = momentsShowing(zone, time);
  return moments.empty() ? endOfGap(zone, time) : moments.front();
}

LocalTime midnightBefore(const SimulatedZone& zone, Date date) {
  return std::chrono::floor<std::chrono::days>(shownAt(zone, date));
}

// Beyond, sums of days and offsets would not fit. Some seventy thousand years.
bool isWithinReach(Date date) {
  const auto distance = date.time_since_epoch();
  return distance < Date::duration::max() / 4 && distance > Date::duration::min() / 4;
}

}  // namespace

void SimulatedCalendar::setZone(SimulatedZone newZone) {
  const MutexLock lock{mutex};
  zone = std::move(newZone);
}

void SimulatedCalendar::setUnableToCompute(bool unable) {
  const MutexLock lock{mutex};
  isUnableToCompute = unable;
}

std::optional<Date> SimulatedCalendar::dateByAddingDays(int days, Date date) const {
  const MutexLock lock{mutex};
  if (isUnableToCompute || !isWithinReach(date)) return std::nullopt;
  constexpr int kMostDays = 25'000'000;
  if (days > kMostDays || days < -kMostDays) return std::nullopt;
  const LocalTime wanted = shownAt(zone, date) + std::chrono::days{days};
  const std::vector<Date> moments = momentsShowing(zone, wanted);
  const std::chrono::seconds offset = offsetAt(zone, date);
  for (const Date moment : moments) {
    if (offsetAt(zone, moment) == offset) return moment;
  }
  return firstMomentFrom(zone, wanted);
}

Date SimulatedCalendar::startOfDay(Date date) const {
  const MutexLock lock{mutex};
  if (!isWithinReach(date)) return date;
  return firstMomentFrom(zone, midnightBefore(zone, date));
}

std::optional<Date> SimulatedCalendar::dateBySettingHour(int hour, Date date) const {
  const MutexLock lock{mutex};
  if (isUnableToCompute || !isWithinReach(date)) return std::nullopt;
  return firstMomentFrom(zone, midnightBefore(zone, date) + std::chrono::hours{hour});
}

}  // namespace quillard::platform::simulated
