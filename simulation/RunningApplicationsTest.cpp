#include <gtest/gtest.h>

#include "simulation/RunningApplications.h"

namespace quillard::simulation {
namespace {

struct RunningApplicationsTest : testing::Test {
  RunningApplicationsTest() {
    running.add(first);
    running.add(second);
  }
  void advance(double seconds) { world.advance(Seconds{seconds}); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  Stage stage{world, {}};
  platform::simulated::ApplicationHandle first = stage.desktop().launch();
  platform::simulated::ApplicationHandle second = stage.desktop().launch();
  RunningApplications running{stage};
};

TEST_F(RunningApplicationsTest, AnswerWellUnlessTheyAreImpaired) {
  EXPECT_TRUE(running.allAnsweredSince(Seconds{0}));
  advance(10);
  running.impair(first, Seconds{5});
  EXPECT_FALSE(running.answeredSince(first, Seconds{10}));
  EXPECT_TRUE(running.answeredSince(second, Seconds{0}));
  EXPECT_FALSE(running.allAnsweredSince(Seconds{10}));
  EXPECT_TRUE(running.answeredBetween(first, Seconds{0}, Seconds{10})) << "Up to then it did.";
  advance(6);
  EXPECT_FALSE(running.answeredSince(first, Seconds{12}));
  EXPECT_TRUE(running.answeredSince(first, Seconds{15.5}));
  EXPECT_TRUE(running.allAnsweredSince(Seconds{15.5}));
}

TEST_F(RunningApplicationsTest, WhatWasImpairedTwiceAnsweredInBetween) {
  running.impair(first, Seconds{5});
  advance(10);
  running.impair(first, Seconds{5});
  EXPECT_TRUE(running.answeredBetween(first, Seconds{6}, Seconds{10}));
  EXPECT_FALSE(running.answeredBetween(first, Seconds{4}, Seconds{10}));
  EXPECT_FALSE(running.answeredBetween(first, Seconds{6}, Seconds{11}));
}

TEST_F(RunningApplicationsTest, AnswerAgainWhenTheyAreCalmedDown) {
  running.impair(first, Seconds{100});
  advance(1);
  running.calmDown();
  EXPECT_TRUE(running.allAnsweredSince(Seconds{1.5}));
}

TEST_F(RunningApplicationsTest, OfOneThatHasEndedThatCanBeKnown) {
  running.impair(first, Seconds{100});
  running.remove(first);
  EXPECT_FALSE(running.isRunning(first));
  EXPECT_TRUE(running.isRunning(second));
  EXPECT_EQ(running.count(), 1U);
  EXPECT_TRUE(running.answeredSince(first, Seconds{0}));
  running.impair(first, Seconds{5});
  EXPECT_TRUE(running.allAnsweredSince(Seconds{0}));
}

}  // namespace
}  // namespace quillard::simulation
