#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <thread>
#include <vector>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <gtest/gtest.h>

#include "platform/qt/QtExecutors.h"
#include "platform/qt/SystemClock.h"

namespace quillard::qt {
namespace {

using platform::QualityOfService;
using platform::SerialExecutor;
using platform::TaskHandle;
using namespace std::chrono_literals;

constexpr Seconds kNever{std::numeric_limits<double>::infinity()};

// One way to get an executor, and to wait for what it does. Both kinds keep to the same contract.
class Bench {
 public:
  Bench() = default;
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;
  virtual ~Bench() = default;
  virtual SerialExecutor& executor() = 0;
  // Waits until `isDone`, at the longest five seconds. False when it never was.
  virtual bool waitUntil(const std::function<bool()>& isDone) = 0;

  // Runs `body` in a turn and waits for it.
  void run(const std::function<void()>& body) {
    std::atomic<bool> hasRun{false};
    executor().post([&] {
      body();
      hasRun = true;
    });
    ASSERT_TRUE(waitUntil([&] { return hasRun.load(); }));
  }
};

class QueueBench final : public Bench {
 public:
  SerialExecutor& executor() override { return *queue; }
  bool waitUntil(const std::function<bool()>& isDone) override {
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (!isDone() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(200us);
    return isDone();
  }

 private:
  QtExecutors executors;
  const std::unique_ptr<SerialExecutor> queue = executors.makeSerialQueue("bench", QualityOfService::utility);
};

class LoopBench final : public Bench {
 public:
  SerialExecutor& executor() override { return executors.mainThread(); }
  bool waitUntil(const std::function<bool()>& isDone) override {
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (!isDone() && std::chrono::steady_clock::now() < end) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 5);
      QCoreApplication::sendPostedEvents();
    }
    return isDone();
  }

 private:
  // Keeps the loop from waiting without an end for an event that a failing test never brings.
  struct Ticking : QTimer {
    Ticking() { start(1ms); }
  } ticking;
  QtExecutors executors;
};

using MakeBench = std::unique_ptr<Bench> (*)();

class ExecutorContract : public testing::TestWithParam<MakeBench> {
 protected:
  const std::unique_ptr<Bench> bench = GetParam()();
  SerialExecutor& executor = bench->executor();
};

INSTANTIATE_TEST_SUITE_P(SerialQueue, ExecutorContract, testing::Values(MakeBench([]() -> std::unique_ptr<Bench> {
                           return std::make_unique<QueueBench>();
                         })));
INSTANTIATE_TEST_SUITE_P(MainThread, ExecutorContract, testing::Values(MakeBench([]() -> std::unique_ptr<Bench> {
                           return std::make_unique<LoopBench>();
                         })));

TEST_P(ExecutorContract, RunsTurnsOfManyThreadsOneAtATimeAndInTheOrderOfEach) {
  constexpr int kThreads = 4;
  constexpr int kTurns = 500;
  std::array<std::vector<int>, kThreads> seen;  // Touched in turns only: a second turn at once would be a race.
  std::atomic<int> count{0};
  std::vector<std::thread> posters;
  for (int thread = 0; thread < kThreads; ++thread) {
    posters.emplace_back([&, thread] {
      for (int i = 0; i < kTurns; ++i) {
        executor.post([&, thread, i] {
          seen[static_cast<std::size_t>(thread)].push_back(i);
          ++count;
        });
      }
    });
  }
  EXPECT_TRUE(bench->waitUntil([&] { return count == kThreads * kTurns; }));
  for (auto& poster : posters) poster.join();
  for (const auto& order : seen) EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_P(ExecutorContract, NeverRunsATurnInsideThePost) {
  bool wasInside = true;
  bool isPosting = false;
  bench->run([&] {
    isPosting = true;
    executor.post([&] { wasInside = isPosting; });
    isPosting = false;
  });
  bench->run([] {});
  EXPECT_FALSE(wasInside);
}

TEST_P(ExecutorContract, KnowsItsOwnTurns) {
  bool isCurrentInTurn = false;
  bench->run([&] { isCurrentInTurn = executor.isCurrent(); });
  EXPECT_TRUE(isCurrentInTurn);
  bool isCurrentElsewhere = true;
  std::thread([&] { isCurrentElsewhere = executor.isCurrent(); }).join();
  EXPECT_FALSE(isCurrentElsewhere);
}

TEST_P(ExecutorContract, RunsADelayedTurnNotBeforeItsTimeAndInOrderOfTime) {
  std::vector<int> order;
  std::atomic<int> count{0};
  const auto start = steadyNow();
  Instant firstRun;
  const auto later = executor.postAfter(40ms, [&] { order.push_back(2), ++count; });
  const auto sooner = executor.postAfter(20ms, [&] { firstRun = steadyNow(), order.push_back(1), ++count; });
  ASSERT_TRUE(bench->waitUntil([&] { return count == 2; }));
  EXPECT_GE(firstRun - start, 20ms);
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_P(ExecutorContract, RunsAnOverdueDelayAfterTheTurnsBeforeIt) {
  std::vector<int> order;
  TaskHandle delayed;
  bench->run([&] {
    executor.post([&] { order.push_back(1); });
    delayed = executor.postAfter(-1s, [&] { order.push_back(2); });
    executor.post([&] { order.push_back(3); });
  });
  bench->run([] {});
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_P(ExecutorContract, NeverRunsWhatIsDueNever) {
  std::atomic<int> count{0};
  const auto once = executor.postAfter(kNever, [&] { ++count; });
  const auto often = executor.repeatEvery(kNever, [&] { ++count; });
  const auto centuries = executor.postAfter(Seconds{1e11}, [&] { ++count; });
  std::atomic<bool> isLater{false};
  const auto sign = executor.postAfter(10ms, [&] { isLater = true; });
  ASSERT_TRUE(bench->waitUntil([&] { return isLater.load(); }));
  EXPECT_EQ(count, 0);
}

TEST_P(ExecutorContract, RepeatsAtItsIntervalUntilItsOwnTurnEndsIt) {
  std::atomic<int> count{0};
  TaskHandle repeating;
  const auto start = steadyNow();
  bench->run([&] {
    repeating = executor.repeatEvery(5ms, [&] {
      if (++count == 4) repeating.reset();
    });
  });
  ASSERT_TRUE(bench->waitUntil([&] { return count == 4; }));
  EXPECT_GE(steadyNow() - start, 20ms);
  std::atomic<bool> isLater{false};
  const auto sign = executor.postAfter(20ms, [&] { isLater = true; });
  ASSERT_TRUE(bench->waitUntil([&] { return isLater.load(); }));
  EXPECT_EQ(count, 4);
}

TEST_P(ExecutorContract, RunsMissedTicksOnce) {
  std::atomic<int> count{0};
  std::vector<Instant> ticks;
  TaskHandle repeating;
  Instant blockedUntil;
  bench->run([&] {
    repeating = executor.repeatEvery(20ms, [&] { ticks.push_back(steadyNow()), ++count; });
    std::this_thread::sleep_for(110ms);  // Five ticks pass unseen.
    blockedUntil = steadyNow();
  });
  ASSERT_TRUE(bench->waitUntil([&] { return count == 2; }));
  bench->run([&] { repeating.reset(); });
  EXPECT_GE(ticks[0], blockedUntil);
  EXPECT_GE(ticks[1] - ticks[0], 1ms);  // The next one of the grid, not one made up for.
  EXPECT_LE(count, 3);
}

TEST_P(ExecutorContract, DoesNotRunWhatItsOwnTurnCancelledThoughItIsOverdue) {
  std::atomic<int> count{0};
  TaskHandle cancelled;
  TaskHandle destroyed;
  bench->run([&] {
    cancelled = executor.postAfter(1ms, [&] { ++count; });
    destroyed = executor.postAfter(1ms, [&] { ++count; });
    std::this_thread::sleep_for(5ms);
    cancelled->cancel();
    destroyed.reset();
  });
  bench->run([] {});
  bench->run([] {});
  EXPECT_EQ(count, 0);
}

TEST_P(ExecutorContract, LetsATurnGoOfWhatItHoldsOnceItIsCancelled) {
  const auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  auto handle = executor.postAfter(kNever, [kept = held] { FAIL() << *kept; });
  EXPECT_EQ(watch.use_count(), 2);
  handle->cancel();
  EXPECT_EQ(watch.use_count(), 1);
}

TEST_P(ExecutorContract, AHandleMayOutliveItsTurn) {
  std::atomic<bool> hasRun{false};
  auto handle = executor.postAfter(0s, [&] { hasRun = true; });
  ASSERT_TRUE(bench->waitUntil([&] { return hasRun.load(); }));
  handle->cancel();
  handle.reset();
  bench->run([] {});
}

TEST_P(ExecutorContract, CancellingFromElsewhereRacesCleanlyWithTheTurn) {
  std::atomic<int> ran{0};
  for (int i = 0; i < 200; ++i) {
    auto handle = executor.postAfter(Seconds{1e-5}, [&] { ++ran; });
    std::thread([&] { handle.reset(); }).join();
  }
  bench->run([] {});
  EXPECT_LE(ran, 200);
  const int settled = ran;
  bench->run([] {});
  EXPECT_EQ(ran, settled);
}

TEST(SerialQueue, DestroyingItDropsWhatHasNotBegunAndWaitsForWhatHas) {
  QtExecutors executors;
  auto queue = executors.makeSerialQueue("short-lived", QualityOfService::standard);
  std::promise<void> begun;
  std::atomic<bool> hasEnded{false};
  std::atomic<int> later{0};
  const auto held = std::make_shared<int>(1);
  queue->post([&] {
    begun.set_value();
    std::this_thread::sleep_for(20ms);
    hasEnded = true;
  });
  queue->post([&, held] { ++later; });
  const auto handle = queue->postAfter(kNever, [&, held] { ++later; });
  const auto ticking = queue->repeatEvery(1s, [&, held] { ++later; });
  begun.get_future().wait();
  queue.reset();
  EXPECT_TRUE(hasEnded);
  EXPECT_EQ(later, 0);
  EXPECT_EQ(held.use_count(), 1);
  handle->cancel();  // Its queue is gone, which is no mistake.
}

TEST(SerialQueue, HasAThreadOfItsOwn) {
  QtExecutors executors;
  // They outlive the queues, whose turns may still be at them when their values are already here.
  std::promise<void> release;
  std::promise<std::thread::id> blocked;
  std::promise<std::thread::id> free;
  const auto one = executors.makeSerialQueue("one", QualityOfService::standard);
  const auto two = executors.makeSerialQueue("two", QualityOfService::standard);
  one->post([&] {
    blocked.set_value(std::this_thread::get_id());
    release.get_future().wait();
  });
  two->post([&] { free.set_value(std::this_thread::get_id()); });  // Not held up by the other queue.
  EXPECT_NE(free.get_future().get(), blocked.get_future().get());
  release.set_value();
}

TEST(MainThread, KeepsTurnsApartWhenOneRunsALoopInsideItself) {
  LoopBench bench;
  std::vector<int> order;
  bench.executor().post([&] {
    order.push_back(1);
    QEventLoop inner;
    QTimer::singleShot(20ms, &inner, &QEventLoop::quit);
    inner.exec();
    order.push_back(2);
  });
  bench.executor().post([&] { order.push_back(3); });
  ASSERT_TRUE(bench.waitUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(MainThread, GivesTheLoopItsTurnBetweenTurnsThatPostThemselves) {
  LoopBench bench;
  bool hasLoopRun = false;
  std::function<void()> again = [&] {
    if (!hasLoopRun) bench.executor().post(again);
  };
  bench.executor().post(again);
  QTimer::singleShot(1ms, [&] { hasLoopRun = true; });
  EXPECT_TRUE(bench.waitUntil([&] { return hasLoopRun; }));
}

TEST(SystemClock, SleepsAtLeastAsLongAsAsked) {
  SystemClock clock;
  const auto start = clock.monotonicNow();
  clock.sleep(5ms);
  EXPECT_GE(clock.monotonicNow() - start, 5ms);
  clock.sleep(-1s);
  clock.sleep(0s);
}

TEST(SystemClock, TellsTheTimeOfDay) {
  const SystemClock clock;
  const auto before = std::chrono::system_clock::now();
  const auto now = clock.now();
  EXPECT_GE(now + 1us, before);
  EXPECT_LE(now, std::chrono::system_clock::now());
}

}  // namespace
}  // namespace quillard::qt
