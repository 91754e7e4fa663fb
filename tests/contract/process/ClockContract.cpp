#include "contract/process/TimeContract.h"

namespace quillard::test {

using namespace std::chrono_literals;

TEST_P(ClockContract, SleepsAtLeastAsLongAsAsked) {
  const auto start = clock.monotonicNow();
  clock.sleep(5ms);
  EXPECT_GE(clock.monotonicNow() - start, 5ms);
}

TEST_P(ClockContract, SleepsForNothingWhenAskedForNothingOrLess) {
  const auto start = clock.monotonicNow();
  clock.sleep(0s);
  clock.sleep(-1h);
  EXPECT_LT(clock.monotonicNow() - start, 1h);
}

TEST_P(ClockContract, NeverGoesBack) {
  auto last = clock.monotonicNow();
  for (int i = 0; i < 1000; ++i) {
    const auto now = clock.monotonicNow();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST_P(ClockContract, CountsTheTimeThatPassesAlsoWithoutSleepOfTheComputer) {
  const auto start = clock.continuousTime();
  const auto monotonicStart = clock.monotonicNow();
  clock.sleep(20ms);
  const auto passed = clock.continuousTime() - start;
  const auto monotonicPassed = clock.monotonicNow() - monotonicStart;
  // Read one after another, and to whole milliseconds.
  EXPECT_GE(passed, 19ms);
  EXPECT_GE(passed, monotonicPassed - 500ms);
  EXPECT_LE(passed, monotonicPassed + 500ms);
}

TEST_P(ClockContract, NeverTakesTheContinuousTimeBack) {
  auto last = clock.continuousTime();
  for (int i = 0; i < 1000; ++i) {
    const auto now = clock.continuousTime();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST_P(ClockContract, ShowsATimeOfDayThatGoesOn) {
  const auto before = clock.now();
  clock.sleep(5ms);
  EXPECT_GE(clock.now() - before, 4ms);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ClockContract);

}  // namespace quillard::test
