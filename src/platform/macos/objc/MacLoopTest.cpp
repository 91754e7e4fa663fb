#include <deque>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/macos/objc/EnclosedExecutors.h"
#include "platform/macos/objc/MainThreadLink.h"

namespace quillard::macos {
namespace {

using platform::Turn;

// ---- The link to the main thread, and enclosed turns: over an executor that runs when it is told

class HandExecutor final : public platform::SerialExecutor {
 public:
  void post(Turn turn) override { turns.push_back(std::move(turn)); }
  platform::TaskHandle postAfter(Seconds, Turn turn) override {
    post(std::move(turn));
    return nullptr;
  }
  platform::TaskHandle repeatEvery(Seconds, Turn turn) override {
    post(std::move(turn));
    return nullptr;
  }
  [[nodiscard]] bool isCurrent() const override { return isRunning; }

  void runAll() {
    isRunning = true;
    while (!turns.empty()) {
      const Turn turn = std::move(turns.front());
      turns.pop_front();
      turn();
    }
    isRunning = false;
  }

  std::deque<Turn> turns;
  bool isRunning = false;
};

TEST(MainThreadLink, DeliversInTurnsOfTheMainThreadInOrder) {
  HandExecutor mainThread;
  const MainThreadListening listening(mainThread);
  std::vector<int> delivered;
  listening.link()->post([&] { delivered.push_back(1); });
  listening.link()->post([&] { delivered.push_back(2); });
  EXPECT_TRUE(delivered.empty());
  mainThread.runAll();
  EXPECT_EQ(delivered, (std::vector<int>{1, 2}));
}

TEST(MainThreadLink, DropsWhatWasUnderWayWhenTheListenerGoes) {
  HandExecutor mainThread;
  int delivered = 0;
  std::shared_ptr<MainThreadLink> kept;
  {
    const MainThreadListening listening(mainThread);
    kept = listening.link();
    kept->post([&] { ++delivered; });
  }
  mainThread.runAll();
  kept->post([&] { ++delivered; });
  EXPECT_TRUE(mainThread.turns.empty());
  EXPECT_EQ(delivered, 0);
}

class HandExecutors final : public platform::Executors {
 public:
  platform::SerialExecutor& mainThread() override { return main; }
  std::unique_ptr<platform::SerialExecutor> makeSerialQueue(std::string_view label,
                                                            platform::QualityOfService quality) override {
    labels.emplace_back(label);
    qualities.push_back(quality);
    auto queue = std::make_unique<HandExecutor>();
    lastQueue = queue.get();
    return queue;
  }

  HandExecutor main;
  HandExecutor* lastQueue = nullptr;
  std::vector<std::string> labels;
  std::vector<platform::QualityOfService> qualities;
};

TEST(EnclosedExecutors, RunEachTurnOfAQueueInsideTheEnclosure) {
  HandExecutors beneath;
  std::string story;
  EnclosedExecutors executors(beneath, [&story](const Turn& turn) {
    story += "(";
    turn();
    story += ")";
  });
  const auto queue = executors.makeSerialQueue("a queue", platform::QualityOfService::utility);
  EXPECT_EQ(beneath.labels, (std::vector<std::string>{"a queue"}));
  EXPECT_EQ(beneath.qualities, (std::vector{platform::QualityOfService::utility}));
  EXPECT_FALSE(queue->isCurrent());
  queue->post([&] { story += queue->isCurrent() ? "a" : "?"; });
  const auto later = queue->postAfter(Seconds{1}, [&story] { story += "b"; });
  const auto often = queue->repeatEvery(Seconds{1}, [&story] { story += "c"; });
  EXPECT_EQ(story, "");
  beneath.lastQueue->runAll();
  EXPECT_EQ(story, "(a)(b)(c)");
}

TEST(EnclosedExecutors, RunEachTurnOfTheMainThreadInsideTheEnclosure) {
  HandExecutors beneath;
  std::string story;
  EnclosedExecutors executors(beneath, [&story](const Turn& turn) {
    story += "(";
    turn();
    story += ")";
  });
  auto& mainThread = executors.mainThread();
  EXPECT_EQ(&mainThread, &executors.mainThread());
  EXPECT_FALSE(mainThread.isCurrent());
  mainThread.post([&] { story += mainThread.isCurrent() ? "a" : "?"; });
  const auto later = mainThread.postAfter(Seconds{1}, [&story] { story += "b"; });
  const auto often = mainThread.repeatEvery(Seconds{1}, [&story] { story += "c"; });
  beneath.main.runAll();
  EXPECT_EQ(story, "(a)(b)(c)");
}

}  // namespace
}  // namespace quillard::macos
