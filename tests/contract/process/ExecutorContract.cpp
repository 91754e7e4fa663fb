#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <thread>
#include <vector>

#include "contract/process/TimeContract.h"

namespace quillard::test {

using platform::QualityOfService;
using platform::TaskHandle;
using namespace std::chrono_literals;

namespace {

constexpr Seconds kNever{std::numeric_limits<double>::infinity()};

}  // namespace

void ExecutorContract::run(const std::function<void()>& body) {
  std::atomic<bool> hasRun{false};
  executor.post([&] {
    body();
    hasRun = true;
  });
  ASSERT_TRUE(binding->eventually([&] { return hasRun.load(); }));
}

TEST_P(ExecutorContract, RunsTurnsOfManyThreadsOneAtATimeAndInTheOrderOfEach) {
  constexpr int kThreads = 4;
  constexpr int kTurns = 500;
  std::array<std::vector<int>, kThreads> received;  // Touched in turns only: two turns at a time would be a race.
  std::atomic<int> count{0};
  std::vector<std::thread> posters;
  for (int thread = 0; thread < kThreads; ++thread) {
    posters.emplace_back([&, thread] {
      for (int i = 0; i < kTurns; ++i) {
        executor.post([&, thread, i] {
          received[static_cast<std::size_t>(thread)].push_back(i);
          ++count;
        });
      }
    });
  }
  for (auto& poster : posters) poster.join();
  EXPECT_TRUE(binding->eventually([&] { return count == kThreads * kTurns; }));
  for (const auto& order : received) EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_P(ExecutorContract, NeverRunsATurnInsideThePost) {
  bool wasInside = true;
  bool isPosting = false;
  run([&] {
    isPosting = true;
    executor.post([&] { wasInside = isPosting; });
    isPosting = false;
  });
  run([] {});
  EXPECT_FALSE(wasInside);
}

TEST_P(ExecutorContract, IsCurrentWithinItsTurnsOnly) {
  bool isCurrentInTurn = false;
  bool isCurrentElsewhere = true;
  const auto other = binding->executors().makeSerialQueue("other", QualityOfService::standard);
  bool isOtherCurrent = true;
  run([&] {
    isCurrentInTurn = executor.isCurrent();
    isOtherCurrent = other->isCurrent();
    std::thread([&] { isCurrentElsewhere = executor.isCurrent(); }).join();
  });
  EXPECT_TRUE(isCurrentInTurn);
  EXPECT_FALSE(isOtherCurrent);
  EXPECT_FALSE(isCurrentElsewhere) << "on another thread during a turn";
}

TEST_P(ExecutorContract, RunsADelayedTurnNotBeforeItsTimeAndInOrderOfTime) {
  std::vector<int> order;
  std::atomic<int> count{0};
  const auto start = clock.monotonicNow();
  Instant firstRun;
  const auto later = executor.postAfter(10ms, [&] { order.push_back(2), ++count; });
  const auto sooner = executor.postAfter(5ms, [&] { firstRun = clock.monotonicNow(), order.push_back(1), ++count; });
  ASSERT_TRUE(binding->eventually([&] { return count == 2; }));
  EXPECT_GE(firstRun - start, 5ms);
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_P(ExecutorContract, RunsAnOverdueDelayAfterTheTurnsBeforeIt) {
  std::vector<int> order;
  TaskHandle delayed;
  run([&] {
    executor.post([&] { order.push_back(1); });
    delayed = executor.postAfter(-1s, [&] { order.push_back(2); });
    executor.post([&] { order.push_back(3); });
  });
  run([] {});
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_P(ExecutorContract, NeverRunsWhatIsDueNever) {
  std::atomic<int> count{0};
  const auto once = executor.postAfter(kNever, [&] { ++count; });
  const auto often = executor.repeatEvery(kNever, [&] { ++count; });
  const auto centuries = executor.postAfter(Seconds{1e11}, [&] { ++count; });
  std::atomic<bool> isLater{false};
  const auto sign = executor.postAfter(5ms, [&] { isLater = true; });
  ASSERT_TRUE(binding->eventually([&] { return isLater.load(); }));
  EXPECT_EQ(count, 0);
}

TEST_P(ExecutorContract, RepeatsAtItsIntervalUntilItsOwnTurnEndsIt) {
  std::atomic<int> count{0};
  TaskHandle repeating;
  const auto start = clock.monotonicNow();
  run([&] {
    // What the turn holds lives until it returns, though it destroys its own handle.
    repeating = executor.repeatEvery(2ms, [&, held = std::make_shared<int>(4)] {
      if (++count == *held) repeating.reset();
      EXPECT_EQ(*held, 4);
    });
  });
  ASSERT_TRUE(binding->eventually([&] { return count == 4; }));
  EXPECT_GE(clock.monotonicNow() - start, 8ms);
  std::atomic<bool> isLater{false};
  const auto sign = executor.postAfter(6ms, [&] { isLater = true; });
  ASSERT_TRUE(binding->eventually([&] { return isLater.load(); }));
  EXPECT_EQ(count, 4);
}

TEST_P(ExecutorContract, RunsMissedTicksOnce) {
  std::atomic<int> count{0};
  int countSoonAfter = 0;
  TaskHandle repeating;
  Instant first;
  Instant blockedUntil;
  run([&] {
    repeating = executor.repeatEvery(2ms, [&] {
      if (++count > 1) return;
      first = clock.monotonicNow();
      executor.post([&] { countSoonAfter = count; });
    });
    clock.sleep(22ms);  // Ten ticks or more are missed.
    blockedUntil = clock.monotonicNow();
  });
  ASSERT_TRUE(binding->eventually([&] { return count >= 2; }));
  run([&] { repeating.reset(); });
  EXPECT_GE(first, blockedUntil);
  EXPECT_GE(countSoonAfter, 1);
  EXPECT_LE(countSoonAfter, 3) << "ticks were made up for";
}

TEST_P(ExecutorContract, DoesNotRunWhatItsOwnTurnCancelledThoughItIsOverdue) {
  std::atomic<int> count{0};
  TaskHandle cancelled;
  TaskHandle destroyed;
  run([&] {
    cancelled = executor.postAfter(1ms, [&] { ++count; });
    destroyed = executor.postAfter(1ms, [&] { ++count; });
    clock.sleep(3ms);
    cancelled->cancel();
    destroyed.reset();
  });
  run([] {});
  run([] {});
  EXPECT_EQ(count, 0);
}

TEST_P(ExecutorContract, LetsATurnGoOfWhatItHoldsOnceItIsCancelled) {
  const auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  const auto once = executor.postAfter(kNever, [kept = held] { FAIL() << *kept; });
  const auto often = executor.repeatEvery(1h, [kept = held] { FAIL() << *kept; });
  EXPECT_EQ(watch.use_count(), 3);
  once->cancel();
  often->cancel();
  EXPECT_EQ(watch.use_count(), 1);
}

TEST_P(ExecutorContract, LetsATurnGoOfWhatItHoldsOnceItHasRun) {
  const auto held = std::make_shared<int>(1);
  std::atomic<bool> hasRun{false};
  const auto handle = executor.postAfter(0s, [&, kept = held] { hasRun = true; });
  executor.post([kept = held] {});
  ASSERT_TRUE(binding->eventually([&] { return hasRun.load(); }));
  run([] {});
  EXPECT_EQ(held.use_count(), 1);
}

TEST_P(ExecutorContract, AHandleMayOutliveItsTurn) {
  std::atomic<bool> hasRun{false};
  auto handle = executor.postAfter(0s, [&] { hasRun = true; });
  ASSERT_TRUE(binding->eventually([&] { return hasRun.load(); }));
  handle->cancel();
  handle.reset();
  run([] {});
}

TEST_P(ExecutorContract, CancellingFromElsewhereRacesCleanlyWithTheTurn) {
  std::atomic<int> ran{0};
  for (int i = 0; i < 200; ++i) {
    auto handle = executor.postAfter(Seconds{1e-5}, [&] { ++ran; });
    std::thread([&] { handle.reset(); }).join();
  }
  run([] {});
  EXPECT_LE(ran, 200);
  const int settled = ran;
  run([] {});
  EXPECT_EQ(ran, settled);
}

TEST_P(SerialQueueContract, DestroyingOneDropsWhatHasNotBegunAndWaitsForWhatHas) {
  auto queue = binding->executors().makeSerialQueue("short-lived", QualityOfService::standard);
  std::atomic<bool> hasBegun{false};
  std::atomic<bool> hasEnded{false};
  std::atomic<int> later{0};
  const auto held = std::make_shared<int>(1);
  queue->post([&] {
    hasBegun = true;
    clock.sleep(20ms);
    hasEnded = true;
  });
  queue->post([&, held] { ++later; });
  const auto handle = queue->postAfter(kNever, [&, held] { ++later; });
  const auto ticking = queue->repeatEvery(1s, [&, held] { ++later; });
  ASSERT_TRUE(binding->eventually([&] { return hasBegun.load(); }));
  queue.reset();
  EXPECT_TRUE(hasEnded);
  EXPECT_EQ(later, 0);
  EXPECT_EQ(held.use_count(), 1);
  handle->cancel();  // Its queue is gone, which is no mistake.
}

TEST_P(SerialQueueContract, ATurnThatTakesLongHoldsUpNoOtherQueueNorTheMainThread) {
  std::atomic<bool> hasOtherRun{false};
  std::atomic<bool> hasMainRun{false};
  std::atomic<bool> isDone{false};
  bool haveOthersRun = false;
  const auto one = binding->executors().makeSerialQueue("one", QualityOfService::standard);
  const auto two = binding->executors().makeSerialQueue("two", QualityOfService::standard);
  one->post([&] {
    for (int i = 0; i < 5000 && !(hasOtherRun && hasMainRun); ++i) clock.sleep(1ms);
    haveOthersRun = hasOtherRun && hasMainRun;
    isDone = true;
  });
  two->post([&] { hasOtherRun = true; });
  binding->executors().mainThread().post([&] { hasMainRun = true; });
  ASSERT_TRUE(binding->eventually([&] { return isDone.load(); }));
  EXPECT_TRUE(haveOthersRun);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ExecutorContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SerialQueueContract);

}  // namespace quillard::test
