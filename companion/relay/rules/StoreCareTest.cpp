#include <algorithm>

#include <gtest/gtest.h>

#include "companion/relay/rules/RelayWorld.h"
#include "companion/relay/rules/StoreCare.h"

namespace quillard::relayserver {
namespace {

using namespace std::chrono_literals;

struct StoreCareTest : testing::Test {
  // A quarter of a second a step.
  void run(Duration time, bool isServing = true) {
    for (Duration done{}; done < time; done += 250ms) {
      world.advance(250ms);
      care.tick(world.now(), isServing);
    }
  }

  RelayWorld world;
  StoreCare care{{world.pairings, world.rooms, world.metrics, world.log}};
};

TEST_F(StoreCareTest, ForgetsWhatNoClientHasJoined) {
  (void)world.registerToken();
  run(30min);
  EXPECT_EQ(world.pairings.count(), 1U);
  run(40min);
  EXPECT_EQ(world.pairings.count(), 0U);
  EXPECT_TRUE(std::count(world.log.lines.begin(), world.log.lines.end(),
                         "Forgot pairings that were not used for long: 1") == 1);
}

TEST_F(StoreCareTest, TouchesNoStoreThatDoesNotServeYet) {
  (void)world.registerToken();
  run(70min, /*isServing=*/false);
  EXPECT_EQ(world.pairings.count(), 1U);
  world.store.failsToWrite = true;
  run(5min, /*isServing=*/false);
  EXPECT_TRUE(world.pairings.isStoreFine()) << "It was not tried.";
}

TEST_F(StoreCareTest, NoticesAFullDiskWithinAMinuteAndThatItIsMendedWithinSeconds) {
  run(1s);
  world.store.failsToWrite = true;
  run(58s);
  EXPECT_TRUE(world.pairings.isStoreFine());
  run(3s);
  EXPECT_FALSE(world.pairings.isStoreFine());
  EXPECT_GT(world.metrics.storeFailures, 0U);
  EXPECT_TRUE(std::count(world.log.lines.begin(), world.log.lines.end(), "The database could not be used: disk full") >
              0);
  world.store.failsToWrite = false;
  run(6s);
  EXPECT_TRUE(world.pairings.isStoreFine());
}

TEST_F(StoreCareTest, NotesWhatIsInUse) {
  (void)world.registerToken();
  const auto before = world.store.entries.at(kPairing).lastUsed;
  const auto agent = world.joinAgent();
  for (int day = 0; day < 3; ++day) {
    world.advance(24h);
    world.rooms.didReceiveBytes(*agent, 1, world.instant);
    world.rooms.tick(world.instant);
    care.tick(world.now(), true);
  }
  EXPECT_GT(world.store.entries.at(kPairing).lastUsed, before);
}

}  // namespace
}  // namespace quillard::relayserver
