#include <chrono>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Seconds kForever{std::numeric_limits<double>::infinity()};

class VirtualTimeTest : public testing::Test {
 protected:
  std::unique_ptr<SerialExecutor> queue(std::string_view label = "queue") {
    return time.makeSerialQueue(label, QualityOfService::standard);
  }
  // "name@seconds since the start".
  void note(const std::string& name) {
    notes.push_back(name + "@" + std::to_string((time.monotonicNow() - start) / 1ms));
  }
  Turn noting(const std::string& name) {
    return [this, name] { note(name); };
  }

  VirtualTime time{Seed{7}};
  Instant start = time.monotonicNow();
  std::vector<std::string> notes;
};

TEST_F(VirtualTimeTest, RunsNothingUntilItIsDriven) {
  time.mainThread().post(noting("a"));
  EXPECT_THAT(notes, IsEmpty());
  time.runUntilIdle();
  EXPECT_THAT(notes, ElementsAre("a@0"));
}

TEST_F(VirtualTimeTest, RunsTurnsOfOneExecutorAsPosted) {
  time.mainThread().post([this] {
    note("a");
    time.mainThread().post(noting("d"));
  });
  time.mainThread().post(noting("b"));
  time.mainThread().post(noting("c"));
  time.runUntilIdle();
  EXPECT_THAT(notes, ElementsAre("a@0", "b@0", "c@0", "d@0"));
}

TEST_F(VirtualTimeTest, RunsADelayedTurnAtItsMomentAndNotBefore) {
  const TaskHandle task = time.mainThread().postAfter(800ms, noting("late"));
  time.advance(799ms);
  EXPECT_THAT(notes, IsEmpty());
  time.advance(1ms);
  EXPECT_THAT(notes, ElementsAre("late@800"));
}

TEST_F(VirtualTimeTest, ADelayedTurnCountsAsPostedWhenItsDelayIsOver) {
  const TaskHandle late = time.mainThread().postAfter(2s, noting("two"));
  const TaskHandle early = time.mainThread().postAfter(1s, noting("one"));
  const TaskHandle alsoEarly = time.mainThread().postAfter(1s, noting("one too"));
  time.advance(3s);
  EXPECT_THAT(notes, ElementsAre("one@1000", "one too@1000", "two@2000"));
}

TEST_F(VirtualTimeTest, ADelayOfNothingOrLessIsDueNow) {
  const TaskHandle none = time.mainThread().postAfter(0s, noting("none"));
  const TaskHandle less = time.mainThread().postAfter(-5s, noting("less"));
  time.runUntilIdle();
  EXPECT_THAT(notes, ElementsAre("none@0", "less@0"));
}

TEST_F(VirtualTimeTest, AnInfiniteDelayNeverEnds) {
  const TaskHandle never = time.mainThread().postAfter(kForever, noting("never"));
  const TaskHandle neverAgain = time.mainThread().repeatEvery(kForever, noting("never again"));
  EXPECT_FALSE(time.nextDue().has_value());
  time.advance(Seconds{1e9});
  EXPECT_THAT(notes, IsEmpty());
}

TEST_F(VirtualTimeTest, CancelledTurnsDoNotRun) {
  const TaskHandle cancelled = time.mainThread().postAfter(1s, noting("cancelled"));
  TaskHandle destroyed = time.mainThread().postAfter(1s, noting("destroyed"));
  const TaskHandle repeating = time.mainThread().repeatEvery(1s, noting("repeating"));
  cancelled->cancel();
  destroyed.reset();
  time.advance(2s);
  repeating->cancel();
  time.advance(2s);
  EXPECT_THAT(notes, ElementsAre("repeating@1000", "repeating@2000"));
}

TEST_F(VirtualTimeTest, TicksMissedInALongTurnRunOnceAndKeepTheirRaster) {
  int ticks = 0;
  const TaskHandle task = time.mainThread().repeatEvery(100ms, [&] {
    note("tick");
    if (++ticks == 1) time.sleep(350ms);
  });
  time.advance(650ms);
  EXPECT_THAT(notes, ElementsAre("tick@100", "tick@450", "tick@500", "tick@600"));
}

TEST_F(VirtualTimeTest, TimeStandsStillWithinATurn) {
  const auto other = queue();
  other->post(noting("other"));
  Date before;
  Date after;
  time.mainThread().post([&] {
    before = time.now();
    const TaskHandle task = time.mainThread().postAfter(1s, noting("dropped"));
    after = time.now();
  });
  time.advance(5s);
  EXPECT_EQ(before, after);
  EXPECT_EQ(time.monotonicNow() - start, 5s);
}

TEST_F(VirtualTimeTest, LengthsThatAreNoWholeFractionsEndAtTheNearestTick) {
  const TaskHandle task = time.mainThread().postAfter(Seconds{1.001}, noting("due"));
  time.advance(Seconds{1.001});
  EXPECT_EQ(time.monotonicNow() - start, 1001ms);
  EXPECT_THAT(notes, ElementsAre("due@1001"));
}

TEST_F(VirtualTimeTest, OthersRunWhileATurnSleepsAndItsOwnTurnsWait) {
  const auto worker = queue();
  worker->post([this] {
    note("down");
    time.sleep(1s);
    note("up");
  });
  worker->post(noting("behind"));
  const TaskHandle other = time.mainThread().repeatEvery(400ms, noting("tick"));
  time.advance(1s);
  EXPECT_THAT(notes, ElementsAre("down@0", "tick@400", "tick@800", "up@1000", "behind@1000"));
}

TEST_F(VirtualTimeTest, SleepersWakeAtTheirOwnMomentsInWhateverOrderTheyWentDown) {
  const auto first = queue("first");
  const auto second = queue("second");
  const auto third = queue("third");
  const auto sleepFor = [this](const std::string& name, Seconds length) {
    return [this, name, length] {
      time.sleep(length);
      note(name);
      time.sleep(length);
      note(name);
    };
  };
  first->post(sleepFor("middle", 3s));
  second->post(sleepFor("long", 5s));
  third->post(sleepFor("short", 2s));
  time.advance(20s);
  EXPECT_THAT(notes, ElementsAre("short@2000", "middle@3000", "short@4000", "long@5000", "middle@6000", "long@10000"));
}

TEST_F(VirtualTimeTest, AHundredTurnsSleepAtOnce) {
  std::vector<std::unique_ptr<SerialExecutor>> queues;
  int woken = 0;
  for (int i = 0; i < 100; ++i) {
    queues.push_back(queue());
    queues.back()->post([&, i] {
      time.sleep(Seconds{100.0 - i});
      EXPECT_EQ(time.monotonicNow() - start, std::chrono::seconds{100 - i});
      ++woken;
    });
  }
  time.advance(50s);
  EXPECT_EQ(woken, 50);
  time.advance(50s);
  EXPECT_EQ(woken, 100);
}

TEST_F(VirtualTimeTest, ASleeperBeyondTheAdvanceStaysAsleep) {
  const auto worker = queue();
  worker->post([this] {
    time.sleep(10s);
    note("up");
  });
  time.advance(9s);
  EXPECT_THAT(notes, IsEmpty());
  EXPECT_EQ(time.nextDue(), start + 10s);
  time.advance(1s);
  EXPECT_THAT(notes, ElementsAre("up@10000"));
}

TEST_F(VirtualTimeTest, SleepingOutsideAnyTurnLetsTheWorldGoOn) {
  const TaskHandle task = time.mainThread().postAfter(1s, noting("due"));
  time.sleep(2s);
  EXPECT_THAT(notes, ElementsAre("due@1000"));
  EXPECT_EQ(time.monotonicNow() - start, 2s);
}

TEST_F(VirtualTimeTest, SleepingForNothingReturnsAtOnce) {
  time.mainThread().post([this] {
    time.mainThread().post(noting("next"));
    time.sleep(0s);
    time.sleep(-1s);
    time.sleep(Seconds{std::numeric_limits<double>::quiet_NaN()});
    note("still here");
  });
  time.runUntilIdle();
  EXPECT_THAT(notes, ElementsAre("still here@0", "next@0"));
}

TEST_F(VirtualTimeTest, RunUntilIdleFollowsWhatIsDueButMovesNoTime) {
  const TaskHandle later = time.mainThread().postAfter(1ms, noting("later"));
  const auto other = queue();
  time.mainThread().post([&] { other->post([&] { time.mainThread().post(noting("end of chain")); }); });
  time.runUntilIdle();
  EXPECT_THAT(notes, ElementsAre("end of chain@0"));
  EXPECT_EQ(time.monotonicNow(), start);
}

TEST_F(VirtualTimeTest, NextDueIsTheFirstMomentAtWhichSomethingGoesOn) {
  EXPECT_FALSE(time.nextDue().has_value());
  const TaskHandle task = time.mainThread().postAfter(3s, [] {});
  EXPECT_EQ(time.nextDue(), start + 3s);
  time.mainThread().post([] {});
  EXPECT_EQ(time.nextDue(), start);
  time.advance(3s);
  EXPECT_FALSE(time.nextDue().has_value());
}

TEST_F(VirtualTimeTest, TheWallClockCanBeSetWithoutMovingAnythingElse) {
  const TaskHandle task = time.mainThread().postAfter(10s, noting("due"));
  time.advance(4s);
  const Date noon = std::chrono::sys_days{std::chrono::March / 29 / 2026} + 12h;
  time.setWallClock(noon);
  EXPECT_EQ(time.now(), noon);
  EXPECT_EQ(time.monotonicNow() - start, 4s);
  time.advance(6s);
  EXPECT_EQ(time.now(), noon + 6s);
  EXPECT_THAT(notes, ElementsAre("due@10000"));
}

TEST_F(VirtualTimeTest, SleepOfTheComputerMovesTheClocksThatCountItAndNothingElse) {
  const TaskHandle task = time.mainThread().postAfter(10s, noting("due"));
  const Date wall = time.now();
  const auto continuous = time.continuousTime();
  time.advance(4s);
  time.suspend(3600s);
  EXPECT_EQ(time.monotonicNow() - start, 4s);
  EXPECT_EQ(time.continuousTime() - continuous, 3604s);
  EXPECT_EQ(time.now() - wall, 3604s);
  EXPECT_THAT(notes, IsEmpty());
  time.advance(6s);
  EXPECT_EQ(time.continuousTime() - continuous, 3610s);
  EXPECT_THAT(notes, ElementsAre("due@10000"));
}

TEST_F(VirtualTimeTest, TheWallClockMayBeSetWithoutMovingTheContinuousTime) {
  const auto continuous = time.continuousTime();
  time.setWallClock(time.now() - 24h);
  time.advance(1s);
  EXPECT_EQ(time.continuousTime() - continuous, 1s);
}

TEST_F(VirtualTimeTest, TheWallClockEndsAtItsLastMoment) {
  time.setWallClock(Date::max());
  time.advance(1s);
  EXPECT_EQ(time.now(), Date::max());
}

TEST_F(VirtualTimeTest, AnExecutorIsCurrentWithinItsTurnsOnly) {
  const auto other = queue();
  EXPECT_FALSE(time.mainThread().isCurrent());
  bool mainInMain = false;
  bool otherInMain = true;
  bool mainAfterSleep = false;
  time.runOnMainThread([&] {
    mainInMain = time.mainThread().isCurrent();
    otherInMain = other->isCurrent();
    time.sleep(1s);
    mainAfterSleep = time.mainThread().isCurrent();
  });
  time.advance(1s);
  EXPECT_TRUE(mainInMain);
  EXPECT_FALSE(otherInMain);
  EXPECT_TRUE(mainAfterSleep);
}

// ---- Chance

std::vector<std::string> traceOf(Seed seed) {
  VirtualTime time{seed};
  std::vector<std::string> trace;
  std::vector<std::unique_ptr<SerialExecutor>> queues;
  std::vector<TaskHandle> tasks;
  for (int i = 0; i < 4; ++i) {
    const std::string name = std::to_string(i);
    queues.push_back(time.makeSerialQueue(name, QualityOfService::standard));
    tasks.push_back(queues.back()->repeatEvery(1s, [&time, &trace, name] {
      trace.push_back(name + " down");
      time.sleep(500ms);
      trace.push_back(name + " up");
    }));
  }
  time.advance(5s);
  return trace;
}

TEST(VirtualTimeChance, EqualSeedsGiveEqualOrders) {
  for (std::uint64_t seed = 0; seed < 20; ++seed) EXPECT_EQ(traceOf(Seed{seed}), traceOf(Seed{seed})) << seed;
}

TEST(VirtualTimeChance, SeedsDecideTheOrderAmongExecutorsThatAreReadyTogether) {
  std::set<std::vector<std::string>> traces;
  for (std::uint64_t seed = 0; seed < 20; ++seed) traces.insert(traceOf(Seed{seed}));
  EXPECT_GT(traces.size(), 15U);
}

TEST(VirtualTimeChance, EveryExecutorMayComeFirst) {
  std::set<std::string> first;
  for (std::uint64_t seed = 0; seed < 50; ++seed) first.insert(traceOf(Seed{seed}).front());
  EXPECT_THAT(first, ElementsAre("0 down", "1 down", "2 down", "3 down"));
}

// ---- Ends

TEST_F(VirtualTimeTest, DestroyingAQueueOutsideAnyTurnLetsItsSleeperEnd) {
  auto worker = queue();
  worker->post([this] {
    time.sleep(2s);
    note("up");
  });
  worker->post(noting("dropped"));
  const TaskHandle task = time.mainThread().postAfter(1s, noting("others go on"));
  const TaskHandle later = time.mainThread().postAfter(3s, noting("not yet"));
  time.advance(500ms);
  worker.reset();
  EXPECT_THAT(notes, ElementsAre("others go on@1000", "up@2000"));
  EXPECT_EQ(time.monotonicNow() - start, 2s);
}

TEST_F(VirtualTimeTest, ATurnThatDestroysAQueueWaitsForItsSleeper) {
  auto worker = queue();
  worker->post([this] {
    time.sleep(2s);
    note("up");
  });
  const TaskHandle task = time.mainThread().postAfter(1s, [&] {
    note("destroying");
    worker.reset();
    note("destroyed");
  });
  const TaskHandle behind = time.mainThread().postAfter(1s, noting("behind"));
  time.advance(5s);
  EXPECT_THAT(notes, ElementsAre("destroying@1000", "up@2000", "destroyed@2000", "behind@2000"));
}

TEST_F(VirtualTimeTest, WhatATurnThrowsComesOutOfTheCallThatDroveIt) {
  const auto other = queue();
  const TaskHandle later = other->postAfter(500ms, noting("goes on later"));
  time.mainThread().post([] { throw std::runtime_error("thrown in a turn"); });
  EXPECT_THROW(time.advance(1s), std::runtime_error);
  EXPECT_THAT(notes, IsEmpty());
  EXPECT_EQ(time.monotonicNow(), start);
  time.advance(1s);
  EXPECT_THAT(notes, ElementsAre("goes on later@500"));
}

TEST_F(VirtualTimeTest, TurnsArePostedFromRealThreadsToo) {
  constexpr int kThreads = 4;
  constexpr int kPosts = 250;
  int ran = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int post = 0; post < kPosts; ++post) time.mainThread().post([&ran] { ++ran; });
    });
  }
  time.advance(1s);
  for (std::thread& thread : threads) thread.join();
  time.advance(1s);
  EXPECT_EQ(ran, kThreads * kPosts);
}

}  // namespace
}  // namespace quillard::platform::simulated
