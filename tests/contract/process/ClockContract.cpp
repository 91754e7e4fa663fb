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

TEST_P(ClockContract, ShowsATimeOfDayThatGoesOn) {
  const auto before = clock.now();
  clock.sleep(5ms);
  EXPECT_GE(clock.now() - before, 4ms);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ClockContract);

}  // namespace quillard::test
