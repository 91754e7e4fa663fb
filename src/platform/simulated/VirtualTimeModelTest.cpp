#include <algorithm>
#include <chrono>
#include <memory>
#include <queue>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

using Milliseconds = std::chrono::milliseconds;

// A turn, what it does, and what it posts to its own executor before it sleeps.
struct PlannedTurn {
  int id = 0;
  int delay = 0;
  std::vector<int> sleeps;
  std::vector<PlannedTurn> posts;
};
using Plan = std::vector<PlannedTurn>;  // Of one executor.

struct Event {
  int turn = 0;
  int at = 0;
  bool operator==(const Event&) const = default;
};

rc::Gen<std::vector<PlannedTurn>> plans(int depth) {
  const auto shortTime = rc::gen::inRange(0, 40);
  const auto turn = rc::gen::build<PlannedTurn>(
      rc::gen::set(&PlannedTurn::id, rc::gen::inRange(0, 1'000'000)), rc::gen::set(&PlannedTurn::delay, shortTime),
      rc::gen::set(&PlannedTurn::sleeps, rc::gen::resize(4, rc::gen::container<std::vector<int>>(shortTime))),
      rc::gen::set(&PlannedTurn::posts, depth > 0 ? plans(depth - 1) : rc::gen::just(Plan{})));
  return rc::gen::resize(5, rc::gen::container<Plan>(turn));
}

// What one executor must do. Executors share no work, so that its timeline depends neither on the others nor on the
// seed: a turn starts when it is due and the turns before it are over.
std::vector<Event> expectedEvents(const Plan& plan) {
  using Waiting = std::tuple<int, int, const PlannedTurn*>;  // Due, order of posting, turn.
  std::priority_queue<Waiting, std::vector<Waiting>, std::greater<>> waiting;
  int posted = 0;
  int now = 0;
  const auto post = [&](const Plan& turns) {
    for (const PlannedTurn& turn : turns) waiting.emplace(now + turn.delay, posted++, &turn);
  };
  post(plan);
  std::vector<Event> events;
  while (!waiting.empty()) {
    const auto [due, order, turn] = waiting.top();
    waiting.pop();
    now = std::max(now, due);
    events.push_back({turn->id, now});
    post(turn->posts);
    for (const int length : turn->sleeps) {
      now += length;
      events.push_back({turn->id, now});
    }
  }
  return events;
}

class Player {
 public:
  Player(VirtualTime& time, const Plan& plan, int& running)
      : time(time), running(running), queue(time.makeSerialQueue("player", QualityOfService::standard)) {
    post(plan);
  }
  [[nodiscard]] const std::vector<Event>& seen() const { return events; }

 private:
  void post(const Plan& turns) {
    for (const PlannedTurn& turn : turns) {
      if (turn.delay == 0) {
        queue->post([this, &turn] { play(turn); });
      } else {
        tasks.push_back(queue->postAfter(Milliseconds{turn.delay}, [this, &turn] { play(turn); }));
      }
    }
  }

  void play(const PlannedTurn& turn) {
    note(turn);
    post(turn.posts);
    for (const int length : turn.sleeps) {
      time.sleep(Milliseconds{length});
      note(turn);
    }
  }

  // The counter is no atomic: a second thread that ran at the same time would be found here, or by the sanitizer.
  void note(const PlannedTurn& turn) {
    EXPECT_EQ(++running, 1);
    events.push_back({turn.id, static_cast<int>((time.monotonicNow() - start) / Milliseconds{1})});
    --running;
  }

  VirtualTime& time;
  int& running;
  Instant start = time.monotonicNow();
  std::vector<Event> events;
  std::unique_ptr<SerialExecutor> queue;
  std::vector<TaskHandle> tasks;
};

RC_GTEST_PROP(VirtualTimeModel, EveryExecutorKeepsItsTimelineWhateverTheOthersDo, ()) {
  const auto plan = *rc::gen::resize(5, rc::gen::container<std::vector<Plan>>(plans(2)));
  const auto seed = *rc::gen::arbitrary<std::uint64_t>();
  const auto steps = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 100));

  VirtualTime time{Seed{seed}};
  int running = 0;
  std::vector<std::unique_ptr<Player>> players;
  for (const Plan& turns : plan) players.push_back(std::make_unique<Player>(time, turns, running));
  for (const int step : steps) time.advance(Milliseconds{step});
  time.advance(std::chrono::hours{1});

  for (std::size_t i = 0; i < plan.size(); ++i) RC_ASSERT(players[i]->seen() == expectedEvents(plan[i]));
  RC_ASSERT(!time.nextDue().has_value());
}

RC_GTEST_PROP(VirtualTimeModel, TheEndMayComeAtAnyMoment, ()) {
  const auto plan = *rc::gen::resize(5, rc::gen::container<std::vector<Plan>>(plans(2)));
  const int end = *rc::gen::inRange(0, 200);
  const bool destroysQueuesFirst = *rc::gen::arbitrary<bool>();

  VirtualTime time{Seed{1}};
  int running = 0;
  std::vector<std::unique_ptr<Player>> players;
  for (const Plan& turns : plan) players.push_back(std::make_unique<Player>(time, turns, running));
  time.advance(Milliseconds{end});
  if (!destroysQueuesFirst) time.shutDown();

  for (std::size_t i = 0; i < plan.size(); ++i) {
    const std::vector<Event> all = expectedEvents(plan[i]);
    const auto isPast = [end](const Event& event) { return event.at <= end; };
    const std::vector<Event> past(all.begin(), std::find_if_not(all.begin(), all.end(), isPast));
    RC_ASSERT(players[i]->seen() == past);
  }
}

}  // namespace
}  // namespace quillard::platform::simulated
