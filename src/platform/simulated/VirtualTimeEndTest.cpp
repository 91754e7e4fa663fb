#include <chrono>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
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

// ---- Ends

struct NotesItsEnd {
  std::vector<std::string>& notes;
  ~NotesItsEnd() { notes.push_back("unwound"); }
};

TEST(VirtualTimeEnd, UnwindsTurnsThatAreAsleepAndDropsTheRest) {
  std::vector<std::string> notes;
  const auto held = std::make_shared<int>(1);
  {
    VirtualTime time{Seed{1}};
    const TaskHandle ahead = time.mainThread().postAfter(1h, [held] {});
    time.mainThread().post([&] {
      const NotesItsEnd end{notes};
      time.sleep(10s);
      notes.push_back("never");
    });
    time.advance(1s);
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_THAT(notes, ElementsAre("unwound"));
  EXPECT_EQ(held.use_count(), 1);
}

TEST(VirtualTimeEnd, ASleepWhileUnwindingReturnsAtOnce) {
  struct SleepsAtItsEnd {
    VirtualTime& time;
    bool& reached;
    ~SleepsAtItsEnd() {
      time.sleep(5s);
      reached = true;
    }
  };
  bool reached = false;
  VirtualTime time{Seed{1}};
  time.mainThread().post([&] {
    const SleepsAtItsEnd last{time, reached};
    time.sleep(1h);
  });
  time.advance(1s);
  time.shutDown();
  EXPECT_TRUE(reached);
}

TEST(VirtualTimeEnd, ATurnThatThrowsInsteadKeepsNoOtherFromEnding) {
  int ended = 0;
  std::vector<std::unique_ptr<SerialExecutor>> queues;
  VirtualTime time{Seed{1}};
  for (int i = 0; i < 3; ++i) {
    queues.push_back(time.makeSerialQueue("queue", QualityOfService::standard));
    queues.back()->post([&] {
      try {
        time.sleep(1h);
      } catch (...) {
        ++ended;
        throw std::runtime_error("in place of what came out of sleep");
      }
    });
  }
  time.advance(1s);
  time.shutDown();
  EXPECT_EQ(ended, 3);
}

TEST(VirtualTimeEnd, ATurnThatWaitsForAnothersQueueEndsAfterIt) {
  std::vector<std::string> notes;
  VirtualTime time{Seed{1}};
  auto worker = time.makeSerialQueue("worker", QualityOfService::standard);
  worker->post([&] {
    const NotesItsEnd end{notes};
    time.sleep(1h);
  });
  time.advance(1s);
  time.mainThread().post([&] {
    worker.reset();
    notes.push_back("destroyed");
  });
  time.advance(1s);
  EXPECT_THAT(notes, IsEmpty());
  time.shutDown();
  EXPECT_THAT(notes, ElementsAre("unwound", "destroyed"));
}

TEST(VirtualTimeEnd, QueuesAndTasksMayOutliveIt) {
  std::unique_ptr<SerialExecutor> worker;
  TaskHandle task;
  bool ran = false;
  {
    VirtualTime time{Seed{1}};
    worker = time.makeSerialQueue("worker", QualityOfService::standard);
    task = worker->postAfter(1s, [&] { ran = true; });
  }
  worker->post([&] { ran = true; });
  task->cancel();
  task.reset();
  worker.reset();
  EXPECT_FALSE(ran);
}

// ---- Broken promises

class VirtualTimeDeathTest : public testing::Test {
 protected:
  VirtualTimeDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  VirtualTime time{Seed{1}};
};

TEST_F(VirtualTimeDeathTest, StopsWhenTurnsGoOnForEverAtOneMoment) {
  time.setRunawayLimit(1000);
  Turn again = [&] { time.mainThread().post(again); };
  time.mainThread().post(again);
  EXPECT_DEATH(time.runUntilIdle(),
               "time stands still: 1000 turns ran at one moment, the last of them on \"main thread\"");
}

TEST_F(VirtualTimeDeathTest, TurnsBelowTheRunawayLimitAreFineAndTimeResetsTheCount) {
  time.setRunawayLimit(3);
  int ticks = 0;
  const TaskHandle task = time.mainThread().repeatEvery(1s, [&] { ++ticks; });
  time.advance(10s);
  EXPECT_EQ(ticks, 10);
}

TEST_F(VirtualTimeDeathTest, StopsWhenAQueueIsDestroyedFromInsideItsOwnTurn) {
  auto worker = time.makeSerialQueue("worker", QualityOfService::standard);
  worker->post([&] { worker.reset(); });
  EXPECT_DEATH(time.runUntilIdle(), "a queue is destroyed from inside one of its own turns");
}

TEST_F(VirtualTimeDeathTest, StopsWhenATurnMovesTime) {
  time.mainThread().post([&] { time.advance(1s); });
  EXPECT_DEATH(time.runUntilIdle(), "advance is called from inside a turn");
}

TEST_F(VirtualTimeDeathTest, StopsWhenAnIntervalIsNotPositive) {
  EXPECT_DEATH(static_cast<void>(time.mainThread().repeatEvery(0s, [] {})), "interval of a repeating turn");
}

TEST_F(VirtualTimeDeathTest, StopsWhenTimeIsToAdvanceForEver) {
  EXPECT_DEATH(time.advance(kForever), "advance needs a finite length");
}

TEST_F(VirtualTimeDeathTest, StopsWhenAQueueIsDestroyedWhoseTurnSleepsForEver) {
  auto worker = time.makeSerialQueue("worker", QualityOfService::standard);
  worker->post([&] { time.sleep(kForever); });
  time.runUntilIdle();
  EXPECT_DEATH(worker.reset(), "sleeps for ever");
  time.shutDown();
}

}  // namespace
}  // namespace quillard::platform::simulated
