#include <gtest/gtest.h>

#include "approvals/NotificationPauseStore.h"
#include "platform/simulated/SimulatedCalendar.h"
#include "platform/simulated/SimulatedUserDefaults.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;

// 2026-`month`-`day` in UTC.
Date day(unsigned month, unsigned day) {
  return Date{std::chrono::sys_days{std::chrono::year{2026} / static_cast<int>(month) / static_cast<int>(day)}};
}

class NotificationPauseStoreTest : public testing::Test {
 protected:
  platform::simulated::SimulatedUserDefaults defaults;
  platform::simulated::SimulatedCalendar calendar;  // UTC.
  NotificationPauseStore store{defaults};
};

TEST_F(NotificationPauseStoreTest, IsNotPausedAtFirst) {
  EXPECT_EQ(store.snapshot(), NotificationPauseSnapshot{});
  EXPECT_FALSE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, PausesForALengthOfTime) {
  store.pause(Seconds{60}, day(3, 1));
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{day(3, 1) + 60s, false}));
  EXPECT_TRUE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, AppliesEachOption) {
  const Date now = day(3, 1) + 10h;
  store.apply(NotificationPauseOption::twoHours, now, calendar);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now + 2h, false}));
  store.apply(NotificationPauseOption::fourHours, now, calendar);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now + 4h, false}));
  store.apply(NotificationPauseOption::untilTomorrow, now, calendar);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{day(3, 2) + 9h, false}));
  store.apply(NotificationPauseOption::indefinitely, now, calendar);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{std::nullopt, true}));
  EXPECT_FALSE(defaults.object("quillard.notifications-paused-until").has_value());
  store.apply(NotificationPauseOption::twoHours, now, calendar);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now + 2h, false}));
}

TEST_F(NotificationPauseStoreTest, UntilTomorrowMeansTheNextDayAtNineWheneverItIsChosen) {
  store.pauseUntilTomorrow(day(3, 1) + 23h + 59min, calendar);
  EXPECT_EQ(store.snapshot().pausedUntil, day(3, 2) + 9h);
  store.pauseUntilTomorrow(day(3, 2) + 1min, calendar);
  EXPECT_EQ(store.snapshot().pausedUntil, day(3, 3) + 9h) << "about 33 hours later, never the same morning";
}

TEST_F(NotificationPauseStoreTest, UntilTomorrowGoesByTheLocalCalendar) {
  calendar.setZone({.offset = -8h});
  store.pauseUntilTomorrow(day(3, 2) + 7h, calendar);  // There it is still the evening of the first.
  EXPECT_EQ(store.snapshot().pausedUntil, day(3, 2) + 8h + 9h);
}

TEST_F(NotificationPauseStoreTest, UntilTomorrowIsNineByTheClocksAlsoWhereTheyChangeBeforeNine) {
  const Date forward = day(3, 29) + 1h;
  const Date back = day(10, 25) + 1h;
  calendar.setZone({.offset = 1h, .changes = {{forward, 2h}, {back, 1h}}});
  store.pauseUntilTomorrow(day(3, 28) + 12h, calendar);
  EXPECT_EQ(store.snapshot().pausedUntil, day(3, 29) + 7h);  // Eight hours after that day's midnight.
  store.pauseUntilTomorrow(day(10, 24) + 12h, calendar);
  EXPECT_EQ(store.snapshot().pausedUntil, day(10, 25) + 8h);  // Ten hours after it.
}

TEST_F(NotificationPauseStoreTest, CountsInSecondsWhereTheCalendarCannotCompute) {
  calendar.setUnableToCompute(true);
  store.pauseUntilTomorrow(day(3, 1) + 22h, calendar);
  EXPECT_EQ(store.snapshot().pausedUntil, day(3, 2) + 9h);
}

TEST_F(NotificationPauseStoreTest, EndsATimedPauseAtItsVeryEnd) {
  store.pause(Seconds{60}, day(3, 1));
  store.pruneExpired(day(3, 1) + 60s - 1us);
  EXPECT_TRUE(store.snapshot().isPaused());
  store.pruneExpired(day(3, 1) + 60s);
  EXPECT_FALSE(store.snapshot().isPaused());
  EXPECT_FALSE(defaults.object("quillard.notifications-paused-until").has_value());
}

TEST_F(NotificationPauseStoreTest, DoesNotEndAnOpenEndedPause) {
  store.pause(Seconds{60}, day(3, 1));
  defaults.set("quillard.notifications-paused-indefinitely", true);
  store.pruneExpired(day(4, 1));
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{day(3, 1) + 60s, true}));
}

TEST_F(NotificationPauseStoreTest, TakesAStoredValueOfAnotherKindForNone) {
  defaults.set("quillard.notifications-paused-until", std::string{"2026-03-01T00:00:00Z"});
  defaults.set("quillard.notifications-paused-indefinitely", 1.0);
  EXPECT_EQ(store.snapshot(), NotificationPauseSnapshot{});
}

TEST_F(NotificationPauseStoreTest, ResumesFromEitherPause) {
  store.pauseIndefinitely();
  store.resume();
  EXPECT_EQ(store.snapshot(), NotificationPauseSnapshot{});
  store.pause(Seconds{60}, day(3, 1));
  store.resume();
  EXPECT_EQ(store.snapshot(), NotificationPauseSnapshot{});
}

TEST_F(NotificationPauseStoreTest, RemembersAcrossRestarts) {
  store.pause(Seconds{60}, day(3, 1));
  EXPECT_EQ(NotificationPauseStore(defaults).snapshot(), store.snapshot());
}

}  // namespace
}  // namespace quillard
