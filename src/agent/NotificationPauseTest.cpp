#include <memory>

#include <gtest/gtest.h>

#include "agent/NotificationPause.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using samples::date;

struct NotificationPauseTest : testing::Test {
  void begin(NotificationPauseOption option) {
    world.time().runOnMainThread([&] { pause->begin(option); });
  }
  void storeEnd(double secondsFromNow) {
    world.userDefaults().set(NotificationPauseStore::untilKey, advanced(world.time().now(), Seconds{secondsFromNow}));
  }
  void advance(double seconds) { world.advance(Seconds{seconds}); }

  SimulatedWorld world{Seed{2}};
  int ends = 0;
  std::unique_ptr<NotificationPause> pause = std::make_unique<NotificationPause>(
      NotificationPauseDependencies{world.userDefaults(), world.time(), world.calendar(), world.time().mainThread()},
      [this] { ++ends; });
};

TEST_F(NotificationPauseTest, ATimedOneEndsByItself) {
  begin(NotificationPauseOption::twoHours);
  advance(7199.999);
  EXPECT_TRUE(pause->isPaused());
  EXPECT_EQ(ends, 0);
  advance(0.002);
  EXPECT_FALSE(pause->isPaused());
  EXPECT_EQ(ends, 1);
  advance(20'000);
  EXPECT_EQ(ends, 1);
}

TEST_F(NotificationPauseTest, OneWithoutEndLastsUntilItIsEnded) {
  begin(NotificationPauseOption::indefinitely);
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
  advance(20'000);
  EXPECT_TRUE(pause->isPaused());
  pause->end();
  EXPECT_FALSE(pause->isPaused());
  advance(20'000);
  EXPECT_EQ(ends, 0) << "It did not end by itself.";
}

TEST_F(NotificationPauseTest, ALaterOneTakesThePlaceOfTheEarlier) {
  begin(NotificationPauseOption::twoHours);
  advance(3600);
  begin(NotificationPauseOption::fourHours);
  advance(14399.999);
  EXPECT_TRUE(pause->isPaused());
  EXPECT_EQ(ends, 0);
  advance(0.002);
  EXPECT_EQ(ends, 1);
}

TEST_F(NotificationPauseTest, OneOfTheLastRunGoesOn) {
  storeEnd(100);
  pause->scheduleNotificationPauseResumeTimer();
  advance(99.999);
  EXPECT_TRUE(pause->isPaused());
  advance(0.002);
  EXPECT_FALSE(pause->isPaused());
}

TEST_F(NotificationPauseTest, OneThatIsOverAlreadyStillLastsHalfASecond) {
  storeEnd(0);
  pause->scheduleNotificationPauseResumeTimer();
  advance(0.499);
  EXPECT_TRUE(pause->isPaused());
  advance(0.002);
  EXPECT_FALSE(pause->isPaused());
}

TEST_F(NotificationPauseTest, OneThatWasExtendedInTheSettingsLastsLonger) {
  begin(NotificationPauseOption::twoHours);
  storeEnd(9000);
  advance(8999.9);
  EXPECT_TRUE(pause->isPaused());
  EXPECT_EQ(ends, 0);
  advance(0.2);
  EXPECT_FALSE(pause->isPaused());
  EXPECT_EQ(ends, 1);
}

TEST_F(NotificationPauseTest, OneThatTheComputerSleptThroughEndsWhenItIsChecked) {
  begin(NotificationPauseOption::fourHours);
  advance(60);
  pause->resumeAfterSleepIfNeeded();
  EXPECT_TRUE(pause->isPaused()) << "It has not ended.";
  world.time().setWallClock(advanced(world.time().now(), Seconds{36'000}));
  EXPECT_TRUE(pause->isPaused());
  pause->resumeAfterSleepIfNeeded();
  EXPECT_FALSE(pause->isPaused());
  EXPECT_EQ(ends, 1);
  pause->resumeAfterSleepIfNeeded();
  advance(36'000);
  EXPECT_EQ(ends, 1);
}

TEST_F(NotificationPauseTest, OneThatEndsAfterTheStopStaysStored) {
  begin(NotificationPauseOption::twoHours);
  pause->stop();
  pause->scheduleNotificationPauseResumeTimer();
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
  advance(8000);
  EXPECT_TRUE(pause->isPaused());
  EXPECT_EQ(ends, 0);
}

TEST_F(NotificationPauseTest, IsNotEndedByAnObjectThatIsGone) {
  begin(NotificationPauseOption::twoHours);
  pause.reset();
  advance(8000);
  EXPECT_EQ(ends, 0);
}

TEST(NotificationPauseDelay, LastsToTheEndOfThePauseButHalfASecondAtLeast) {
  EXPECT_EQ(NotificationPause::resumeDelay(date(0), date(0)), Seconds{0.5});
  EXPECT_EQ(NotificationPause::resumeDelay(date(-100), date(0)), Seconds{0.5});
  EXPECT_EQ(NotificationPause::resumeDelay(date(0.4), date(0)), Seconds{0.5});
  EXPECT_NEAR(NotificationPause::resumeDelay(date(7200), date(0)).count(), 7200, 1e-6);
  EXPECT_GE(NotificationPause::resumeDelay(date(7200), date(0)).count(), 7200)
      << "A pause must never be found still in force.";
}

TEST(NotificationPauseDelay, TakesEverySetClock) {
  EXPECT_EQ(NotificationPause::resumeDelay(Date::min(), Date::max()), Seconds{0.5});
  EXPECT_GT(NotificationPause::resumeDelay(Date::max(), Date::min()).count(), 1.8e13);
}

}  // namespace
}  // namespace quillard
