#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedWebSockets.h"
#include "relay/RelayClient.h"
#include "support/SampleApprovals.h"

// The client on real threads, for the thread sanitizer to watch.
namespace quillard {
namespace {

// A queue with a thread of its own. Delayed turns never come: no test here waits for one.
class ThreadQueue final : public platform::SerialExecutor {
 public:
  ThreadQueue() : thread([this] { serve(); }) {}
  ~ThreadQueue() override {
    {
      const std::lock_guard lock{mutex};
      isEnding = true;
    }
    somethingNew.notify_one();
    thread.join();
  }

  void post(platform::Turn turn) override {
    {
      const std::lock_guard lock{mutex};
      turns.push_back(std::move(turn));
    }
    somethingNew.notify_one();
  }
  platform::TaskHandle postAfter(Seconds delay, platform::Turn turn) override {
    if (delay <= Seconds::zero()) post(std::move(turn));
    return std::make_unique<NoTask>();
  }
  platform::TaskHandle repeatEvery(Seconds, platform::Turn) override { return std::make_unique<NoTask>(); }
  [[nodiscard]] bool isCurrent() const override { return std::this_thread::get_id() == thread.get_id(); }

  // Until all that was posted before has run.
  void flush() {
    std::atomic<bool> isDone = false;
    post([&] {
      isDone = true;
      isDone.notify_one();
    });
    isDone.wait(false);
  }

 private:
  struct NoTask final : platform::ScheduledTask {
    void cancel() override {}
  };

  void serve() {
    std::unique_lock lock{mutex};
    while (true) {
      somethingNew.wait(lock, [this] { return isEnding || !turns.empty(); });
      if (isEnding) return;
      auto turn = std::move(turns.front());
      turns.pop_front();
      lock.unlock();
      turn();
      turn = nullptr;
      lock.lock();
    }
  }

  std::mutex mutex;
  std::condition_variable somethingNew;
  std::deque<platform::Turn> turns;
  bool isEnding = false;
  std::thread thread;
};

class StoppedClock final : public platform::Clock {
 public:
  [[nodiscard]] Date now() const override { return samples::date(0); }
  [[nodiscard]] Instant monotonicNow() const override { return {}; }
  [[nodiscard]] std::chrono::milliseconds continuousTime() const override { return {}; }
  void sleep(Seconds) override {}
};

TEST(RelayClientThreads, MayBeUsedFromAnyThreadAndDestroyedInTheMidstOfIt) {
  int allReports = 0;
  StoppedClock clock;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  platform::simulated::SimulatedConsole console;
  const StampClock stampClock{clock, random};
  for (int round = 0; round < 50; ++round) {
    platform::simulated::SimulatedWebSockets sockets;
    sockets.onStart([](const auto& socket) { socket->accept(); });
    std::atomic<bool> isDestroyed = false;
    std::atomic<int> reports = 0;
    std::atomic<int> reportsAfterTheEnd = 0;
    ThreadQueue queue;
    auto client =
        std::make_unique<RelayClient>(RelayClientAccess{.url = "wss://relay.example"},
                                      RelayClientCallbacks{.onApprovalRequest = [](const auto&) {},
                                                           .onSuppressionCommand = [](const auto&) {},
                                                           .onStatusChange =
                                                               [&](const auto&) {
                                                                 ++reports;
                                                                 if (isDestroyed) ++reportsAfterTheEnd;
                                                               }},
                                      queue, RelayClientDependencies{sockets, clock, random, console, stampClock});
    client->connect();
    queue.flush();
    const auto socket = sockets.newest();
    std::vector<std::thread> threads;
    for (std::uint64_t id = 1; id <= 3; ++id) {
      threads.emplace_back([&client, id] {
        for (int i = 0; i < 20; ++i) {
          client->publishSnapshot({samples::approval(id)}, true, i % 2 == 0);
          client->publishClock();
          client->publishResult("d", {samples::uuid(id), "Allow", "accepted", std::nullopt});
          client->unpairPhone(std::nullopt, [](bool) {});
        }
      });
    }
    threads.emplace_back([&socket] {
      for (int i = 0; i < 20; ++i) socket->sendText(R"({"type":"phone.status","phoneConnected":true,"phoneCount":1})");
      socket->close(1006);
    });
    for (auto& thread : threads) thread.join();
    socket->sendText("late");
    client.reset();  // While its queue is busy with all of that.
    // A report that had begun may still be on its way out; none begins.
    const int reportsBefore = reports;
    isDestroyed = true;
    queue.flush();
    queue.flush();
    EXPECT_LE(reports - reportsBefore, 1);
    EXPECT_LE(reportsAfterTheEnd, 1);
    allReports += reports;
    EXPECT_TRUE(socket->isEnded());
  }
  EXPECT_GE(allReports, 1);  // On a busy machine a client may end before it has reported anything.
}

}  // namespace
}  // namespace quillard
