#include <limits>

#include <gtest/gtest.h>

#include "values/Time.h"

namespace quillard::platform {
namespace {

using namespace std::chrono_literals;

TEST(SaturatingDuration, HoldsOrdinaryTimesExactly) {
  EXPECT_EQ(saturatingDuration<std::chrono::microseconds>(Seconds{0.35}), 350'000us);
  EXPECT_EQ(saturatingDuration<std::chrono::nanoseconds>(Seconds{-2}), -2s);
}

TEST(SaturatingDuration, TurnsWhatCannotBeHeldIntoItsEnds) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(saturatingDuration<std::chrono::nanoseconds>(Seconds{infinity}), std::chrono::nanoseconds::max());
  EXPECT_EQ(saturatingDuration<std::chrono::nanoseconds>(Seconds{-infinity}), std::chrono::nanoseconds::min());
  EXPECT_EQ(saturatingDuration<std::chrono::nanoseconds>(Seconds{1e300}), std::chrono::nanoseconds::max());
  EXPECT_EQ(saturatingDuration<std::chrono::nanoseconds>(Seconds{std::numeric_limits<double>::quiet_NaN()}), 0ns);
}

TEST(Advanced, StopsAtTheEndsOfTheClock) {
  EXPECT_EQ(advanced(Date{8s}, Seconds{0.5}), Date{8500ms});
  EXPECT_EQ(advanced(Date{8s}, Seconds{std::numeric_limits<double>::infinity()}), Date::max());
  EXPECT_EQ(advanced(Date{-8s}, Seconds{-1e300}), Date::min());
}

}  // namespace
}  // namespace quillard::platform
