#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <vector>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <gtest/gtest.h>
#include <pthread.h>

#include "platform/qt/QtExecutors.h"
#include "platform/qt/SystemClock.h"

namespace quillard::qt {
namespace {

using platform::QualityOfService;
using platform::SerialExecutor;
using namespace std::chrono_literals;

constexpr bool hasSanitizer() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
  return true;
#endif
#endif
  return false;
}

Instant at(Seconds seconds) { return Instant{std::chrono::round<Instant::duration>(seconds)}; }

TEST(NextTick, IsOneIntervalAfterTheLastOneWasDue) {
  EXPECT_EQ(nextTick(at(10.3s), at(10.4s), 0.5s), at(10.8s));
  EXPECT_EQ(nextTick(at(10.3s), at(10.3s), 3s), at(13.3s));
  EXPECT_EQ(nextTick(at(10.25s), at(11.5s), 0.5s), at(11.75s)) << "What was missed is not made up for.";
}

TEST(NextTick, OfRepetitionsThatBeganApartIsOneAfterTheFirst) {
  for (const auto interval : {2s, 4s, 20s, 300s}) {
    for (const auto phase : {0.0s, 0.3s, 0.999s, 1.0s, 1.7s}) {
      const Instant first = at(100s + phase);
      const Instant second = nextTick(first, first, interval);
      EXPECT_EQ(second.time_since_epoch() % 2s, 0ns);
      EXPECT_LE(second - first, interval + 1s);
      EXPECT_GE(second - first, interval - 1s);
      EXPECT_EQ(nextTick(second, second + 1ms, interval), second + interval) << "From then on it keeps its interval.";
    }
  }
}

TEST(NextTick, IsNeverInThePast) {
  EXPECT_EQ(nextTick(at(100s), at(107.9s), 2s), at(108s));
  EXPECT_EQ(nextTick(at(100.9s), at(102.9s), 2s), at(104s));
  EXPECT_GT(nextTick(at(100s), at(100s), Seconds{1e12}), at(1e9s));
}

// The main thread, and its loop.
class LoopBench {
 public:
  SerialExecutor& executor() { return executors.mainThread(); }
  bool waitUntil(const std::function<bool()>& isDone) {
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

// Every thread of a test program has such a stack (tests/support/SmallStacks.cpp).
TEST(SerialQueue, HasAStackNoLargerThanAMacGives) {
#if defined(__linux__)
  if (hasSanitizer()) GTEST_SKIP() << "Sanitizers need larger stacks for themselves.";
  QtExecutors executors;
  std::promise<std::size_t> size;
  const auto queue = executors.makeSerialQueue("queue", QualityOfService::standard);
  queue->post([&] {
    pthread_attr_t attributes;
    std::size_t bytes = 0;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &bytes);
    pthread_attr_destroy(&attributes);
    size.set_value(bytes);
  });
  EXPECT_EQ(size.get_future().get(), std::size_t{512} * 1024);
#else
  GTEST_SKIP() << "The system gives no other.";
#endif
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

TEST(SystemClock, TellsTheTimeOfDay) {
  const SystemClock clock;
  const auto before = std::chrono::system_clock::now();
  const auto now = clock.now();
  EXPECT_GE(now + 1us, before);
  EXPECT_LE(now, std::chrono::system_clock::now());
}

}  // namespace
}  // namespace quillard::qt
