#include <cstdint>

#include <gtest/gtest.h>

#include "support/AgentWorld.h"

// What an agent does while nothing happens, counted in virtual time: each turn is work, and most are a wake-up. A count
// that grows is a cost to everyone; whoever has a reason for it changes the number.
namespace quillard {
namespace {

using samples::AgentWorld;

constexpr std::uint64_t kTicks = 3600 / 2;
constexpr std::uint64_t kSweeps = 3600 / 300;

struct IdleAgent : AgentWorld {
  struct Cost {
    std::uint64_t turns = 0;     // Of all threads.
    std::uint64_t requests = 0;  // To other programs.
  };

  // Runs a program with a window, which is no prompt, and lets the start pass.
  IdleAgent() {
    desktop().launch({.name = "Editor", .bundleIdentifier = "com.example.editor", .active = true});
    launchAndPair();
    advance(600);
  }
  // Of an hour.
  Cost hour() {
    const Cost before{world.time().turnCount(), desktop().roundTrips()};
    advance(3600);
    return {world.time().turnCount() - before.turns, desktop().roundTrips() - before.requests};
  }
};

// At each tick: the list of windows is looked at; the permission is asked for, on a thread of its own, and its answer
// is taken. At each sweep: a scan is begun, runs, and is taken. It asks the one program for its windows, and who has
// the keyboard.
TEST(AppDelegateIdle, AnHourWithTheWindowClosedIsTwoTimersAndTwelveSweeps) {
  IdleAgent agent;
  ASSERT_TRUE(agent.world.statusWindowViews().window().closeByUser());
  agent.advance(1);
  const auto cost = agent.hour();
  EXPECT_EQ(cost.turns, kTicks * 4 + kSweeps * 4);
  EXPECT_EQ(cost.requests, kSweeps * 2);
}

TEST(AppDelegateIdle, AnOpenWindowThatShowsTheSameAddsOneTimer) {
  IdleAgent agent;
  const auto cost = agent.hour();
  EXPECT_EQ(cost.turns, kTicks * 5 + kSweeps * 4);
  EXPECT_EQ(cost.requests, kSweeps * 2);
}

}  // namespace
}  // namespace quillard
