#include <optional>

#include <gtest/gtest.h>

#include "agent/PairingOffer.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

struct PairingOfferTest : testing::Test {
  SimulatedWorld world{Seed{1}};
  platform::Platform platform = world.platform();
  int dueCount = 0;
  PairingOffer offer{platform.clock, platform.executors.mainThread(), [this] {
                       ++dueCount;
                       offer.end();
                     }};
};

TEST_F(PairingOfferTest, IsDueWhenItsTimeIsOver) {
  EXPECT_EQ(offer.number(), std::nullopt);
  offer.begin(3, Seconds{600});
  EXPECT_TRUE(offer.isOf(3));
  EXPECT_FALSE(offer.isOf(2));
  world.advance(Seconds{599});
  offer.poll();
  EXPECT_EQ(dueCount, 0);
  world.advance(Seconds{2});
  EXPECT_EQ(dueCount, 1);
  EXPECT_EQ(offer.number(), std::nullopt);
}

TEST_F(PairingOfferTest, IsDueAfterASleepThatTheTimerMissed) {
  offer.begin(3, Seconds{600});
  world.time().suspend(Seconds{599});
  offer.poll();
  EXPECT_EQ(dueCount, 0);
  world.time().suspend(Seconds{2});
  offer.poll();
  EXPECT_EQ(dueCount, 1);
}

TEST_F(PairingOfferTest, IsNeverDueOnceItHasEnded) {
  offer.begin(3, Seconds{600});
  offer.end();
  EXPECT_FALSE(offer.isOf(3));
  world.advance(Seconds{1000});
  offer.poll();
  EXPECT_EQ(dueCount, 0);
}

TEST_F(PairingOfferTest, ReportsNothingOnceItIsStopped) {
  offer.begin(3, Seconds{600});
  offer.stop();
  world.advance(Seconds{1000});
  EXPECT_EQ(dueCount, 0);
  EXPECT_TRUE(offer.isOf(3)) << "The next run finds it so.";
}

}  // namespace
}  // namespace quillard
