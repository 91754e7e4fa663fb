#pragma once

#include <chrono>
#include <cmath>
#include <cstdint>

namespace quillard {

// A length of time in seconds, as settings and schedules state it. May be infinite: "never".
using Seconds = std::chrono::duration<double>;

// A moment of the wall clock, UTC, microseconds since 1970-01-01T00:00:00Z. Whole numbers, so that sums and differences
// of moments are exact: a grace of 8 s ends after 8 s, not a rounding error earlier.
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

// Marks moments of the monotonic clock. Its zero means nothing; only differences do.
struct MonotonicTimeline {
  using rep = std::int64_t;
  using period = std::nano;
  using duration = std::chrono::nanoseconds;
  using time_point = std::chrono::time_point<MonotonicTimeline>;
  static constexpr bool is_steady = true;
};
using Instant = MonotonicTimeline::time_point;

// `seconds` as a whole-numbered duration. What `Duration` cannot hold, infinity included, becomes its largest (or
// smallest) value; NaN becomes zero. The fraction below one tick is dropped.
template <class Duration>
[[nodiscard]] inline Duration saturatingDuration(Seconds seconds) {
  const double ticks = std::chrono::duration<double, typename Duration::period>(seconds).count();
  if (std::isnan(ticks)) return Duration::zero();
  if (ticks >= static_cast<double>(Duration::max().count())) return Duration::max();
  if (ticks <= static_cast<double>(Duration::min().count())) return Duration::min();
  return Duration{static_cast<typename Duration::rep>(ticks)};
}

// `moment` moved by `by`; moments past the ends of the clock become its last or first moment.
template <class TimePoint>
[[nodiscard]] inline TimePoint advanced(TimePoint moment, Seconds by) {
  using Duration = typename TimePoint::duration;
  const Duration step = saturatingDuration<Duration>(by);
  if (step > Duration::zero() && moment > TimePoint::max() - step) return TimePoint::max();
  if (step < Duration::zero() && moment < TimePoint::min() - step) return TimePoint::min();
  return moment + step;
}

}  // namespace quillard
