#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/PermissionWatch.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using testing::ElementsAre;
using testing::IsEmpty;

struct PermissionWatchTest : testing::Test {
  void make() {
    watch = std::make_unique<PermissionWatch>(
        world.accessibility(), world.time().mainThread(),
        PermissionWatchEvents{.onGranted = [this] { events.emplace_back("granted"); },
                              .onRevoked = [this] { events.emplace_back("revoked"); },
                              .onConfirmed = [this] { events.emplace_back("confirmed"); },
                              .onPolled = [this] { ++polls; }});
  }
  void watchAll() {
    make();
    watch->observeAccessibilityPermission();
    watch->scheduleAccessibilityStatusTimer();
  }
  void setTrusted(bool trusted, bool isNotified) { world.desktop().setTrusted(trusted, isNotified); }
  std::vector<std::string> after(double seconds) {
    events.clear();
    world.advance(Seconds{seconds});
    return events;
  }

  SimulatedWorld world{Seed{3}};
  std::vector<std::string> events;
  int polls = 0;
  std::unique_ptr<PermissionWatch> watch;
};

TEST_F(PermissionWatchTest, ReportsAChangeAtTheNextPoll) {
  watchAll();
  EXPECT_THAT(after(10), IsEmpty());
  EXPECT_EQ(polls, 5);
  setTrusted(false, /*isNotified=*/false);
  EXPECT_THAT(after(1.999), IsEmpty());
  EXPECT_TRUE(watch->isAccessibilityTrusted()) << "It was not asked for since.";
  EXPECT_THAT(after(0.002), ElementsAre("revoked"));
  EXPECT_FALSE(watch->isAccessibilityTrusted());
  setTrusted(true, /*isNotified=*/false);
  EXPECT_THAT(after(2), ElementsAre("granted"));
  EXPECT_THAT(after(10), IsEmpty());
}

TEST_F(PermissionWatchTest, TakesThePermissionAtItsConstructionAsKnown) {
  setTrusted(false, /*isNotified=*/false);
  watchAll();
  EXPECT_THAT(after(4.5), IsEmpty());
  setTrusted(true, /*isNotified=*/false);
  EXPECT_THAT(after(2), ElementsAre("granted"));
}

TEST_F(PermissionWatchTest, ChecksThreeTimesAfterAReport) {
  watchAll();
  after(0.6);  // Away from the polls.
  setTrusted(false, /*isNotified=*/true);
  setTrusted(true, /*isNotified=*/false);  // By the first check all is as before.
  for (const auto& [before, past] : {std::pair{0.149, 0.002}, {0.598, 0.002}, {1.248, 0.002}}) {
    EXPECT_THAT(after(before), IsEmpty());
    EXPECT_THAT(after(past), ElementsAre("confirmed"));
  }
  EXPECT_THAT(after(20), IsEmpty());
}

TEST_F(PermissionWatchTest, ReportsALossAtTheFirstCheckThatFindsIt) {
  watchAll();
  after(0.6);
  setTrusted(false, /*isNotified=*/true);
  EXPECT_THAT(after(0.149), IsEmpty());
  EXPECT_THAT(after(0.002), ElementsAre("revoked"));
  EXPECT_THAT(after(5), ElementsAre("confirmed", "confirmed")) << "The other two checks.";
}

TEST_F(PermissionWatchTest, ChecksOfSeveralReportsAreIndependent) {
  make();
  watch->scheduleAccessibilityRechecks();
  world.advance(Seconds{0.1});
  watch->scheduleAccessibilityRechecks();
  EXPECT_EQ(after(10).size(), 6U);
}

TEST_F(PermissionWatchTest, PollsOnceHoweverOftenItIsScheduled) {
  watchAll();
  watch->scheduleAccessibilityStatusTimer();
  world.advance(Seconds{10});
  EXPECT_EQ(polls, 5);
}

TEST_F(PermissionWatchTest, ReportsNothingOnceItIsStopped) {
  watchAll();
  watch->scheduleAccessibilityRechecks();
  watch->stop();
  setTrusted(false, /*isNotified=*/true);
  watch->scheduleAccessibilityRechecks();
  EXPECT_THAT(after(20), IsEmpty());
  EXPECT_EQ(polls, 0);
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

TEST_F(PermissionWatchTest, NeitherWaitsForTheAnswerNorTakesItOnceItIsStoppedOrGone) {
  for (const bool isDestroyed : {false, true}) {
    watchAll();
    world.desktop().setTrustLatency(Seconds{1});
    setTrusted(false, /*isNotified=*/false);
    EXPECT_THAT(after(2.5), IsEmpty()) << "It was asked half a second ago.";
    world.time().runOnMainThread([&] { isDestroyed ? watch.reset() : watch->stop(); });
    EXPECT_THAT(after(20), IsEmpty());
    world.desktop().setTrustLatency(Seconds{0});
    setTrusted(true, /*isNotified=*/false);
  }
}

TEST_F(PermissionWatchTest, ReportsALateAnswerWhenItComes) {
  watchAll();
  world.desktop().setTrustLatency(Seconds{1});
  setTrusted(false, /*isNotified=*/false);
  EXPECT_THAT(after(2.999), IsEmpty());
  EXPECT_THAT(after(0.002), ElementsAre("revoked"));
}

TEST_F(PermissionWatchTest, ASilentSystemChangesNothingForHalfAMinuteAndHasTakenThePermissionThen) {
  watchAll();
  EXPECT_THAT(after(10), IsEmpty());
  world.desktop().setTrustSilent(true);
  EXPECT_THAT(after(31.999), IsEmpty()) << "The next poll, and 30 s.";
  EXPECT_TRUE(watch->isAccessibilityTrusted());
  EXPECT_THAT(after(0.002), ElementsAre("revoked"));
  EXPECT_FALSE(watch->isAccessibilityTrusted());
  EXPECT_THAT(after(100), IsEmpty()) << "Once.";
  world.desktop().setTrustSilent(false);
  EXPECT_THAT(after(2), ElementsAre("granted"));
}

TEST_F(PermissionWatchTest, EverySilenceIsCountedAnew) {
  watchAll();
  for (int i = 0; i < 10; ++i) {
    world.desktop().setTrustSilent(true);
    EXPECT_THAT(after(28), IsEmpty()) << i;
    world.desktop().setTrustSilent(false);
    EXPECT_THAT(after(2), IsEmpty()) << i;
  }
}

TEST_F(PermissionWatchTest, APermissionThatWasNeverKnownIsNotThere) {
  world.desktop().setTrustSilent(true);
  watchAll();
  EXPECT_THAT(after(100), IsEmpty());
  EXPECT_FALSE(watch->isAccessibilityTrusted());
  world.desktop().setTrustSilent(false);
  EXPECT_THAT(after(2), ElementsAre("granted"));
}

TEST_F(PermissionWatchTest, APermissionThatWasDeniedIsNotGivenBySilence) {
  setTrusted(false, /*isNotified=*/false);
  watchAll();
  EXPECT_THAT(after(2), IsEmpty());
  world.desktop().setTrustSilent(true);
  setTrusted(true, /*isNotified=*/false);
  EXPECT_THAT(after(100), IsEmpty());
  EXPECT_FALSE(watch->isAccessibilityTrusted());
  world.desktop().setTrustSilent(false);
  EXPECT_THAT(after(2), ElementsAre("granted"));
}

TEST_F(PermissionWatchTest, ReportsNothingOnceItIsGone) {
  watchAll();
  watch->scheduleAccessibilityRechecks();
  watch.reset();
  setTrusted(false, /*isNotified=*/true);
  EXPECT_THAT(after(20), IsEmpty());
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
