#include <cstdint>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/InstanceGuard.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedLockFiles;
using platform::simulated::SimulatedWorld;
using testing::ElementsAre;

constexpr const char* kLock = "com.quillard.agent.lock";

struct InstanceGuardTest : testing::Test {
  std::unique_ptr<InstanceGuard> makeGuard() {
    return std::make_unique<InstanceGuard>(InstanceGuardDependencies{world.application(), world.workspace(),
                                                                     world.lockFiles(), world.time().mainThread()});
  }
  std::vector<std::int32_t> quitRequests() {
    std::vector<std::int32_t> processes;
    for (const auto& application : world.desktop().quitRequests()) processes.push_back(application.processIdentifier);
    return processes;
  }

  SimulatedWorld world{Seed{1}};
  std::unique_ptr<InstanceGuard> guard = makeGuard();
};

TEST_F(InstanceGuardTest, AsksAgentsOfBothNamesToQuitAndNeverItself) {
  auto& desktop = world.desktop();
  desktop.launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 501});
  desktop.launch({.bundleIdentifier = "com.farrowlight.agent", .processIdentifier = 502});
  desktop.launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 503});
  desktop.launch({.bundleIdentifier = "com.quillard.agent.other", .processIdentifier = 504});
  desktop.launch(
      {.bundleIdentifier = "com.quillard.agent", .processIdentifier = world.application().processIdentifier()});
  EXPECT_EQ(guard->terminateOtherAgents(), 3U);
  EXPECT_THAT(quitRequests(), ElementsAre(502, 501, 503));
}

// ---- Taking over from an agent that quits when it is asked, but not at once

struct TakingOver : InstanceGuardTest {
  TakingOver() { world.desktop().launch({.bundleIdentifier = "com.quillard.agent", .processIdentifier = 501}); }
  void takeOver() {
    world.time().runOnMainThread([this] { guard->takeOver([this](bool mayRun) { decisions.push_back(mayRun); }); });
  }
  SimulatedLockFiles first{world.lockFolder()};
  platform::LockResult held = first.acquire(kLock);
  std::vector<bool> decisions;
};

TEST_F(TakingOver, WaitsForTheAgentThatLetsGoAMomentLater) {
  takeOver();
  EXPECT_THAT(quitRequests(), ElementsAre(501));
  world.advance(Seconds{0.65});
  EXPECT_THAT(decisions, testing::IsEmpty());
  EXPECT_TRUE(guard->isWaiting());
  held.lock.reset();
  world.advance(Seconds{0.1});
  EXPECT_THAT(decisions, ElementsAre(true));
  EXPECT_FALSE(guard->isWaiting());
  EXPECT_EQ(world.lockFiles().heldCount(), 1U);
  world.advance(Seconds{60});
  EXPECT_THAT(decisions, ElementsAre(true)) << "Once.";
}

TEST_F(TakingOver, GivesWayToAnAgentThatDoesNotLetGoInTime) {
  takeOver();
  world.advance(InstanceGuard::kLongestWait - Seconds{0.01});
  EXPECT_THAT(decisions, testing::IsEmpty());
  world.advance(Seconds{0.02});
  EXPECT_THAT(decisions, ElementsAre(false));
  held.lock.reset();
  world.advance(Seconds{60});
  EXPECT_EQ(world.lockFiles().heldCount(), 0U) << "Nothing is tried any more.";
}

TEST_F(TakingOver, DoesNotWaitForALockThatNobodyWasAskedFor) {
  world.desktop().terminate({501});
  takeOver();
  EXPECT_THAT(decisions, ElementsAre(false));
}

TEST_F(TakingOver, DecidesNothingOnceItIsStopped) {
  takeOver();
  guard->stopWaiting();
  held.lock.reset();
  world.advance(Seconds{60});
  EXPECT_THAT(decisions, testing::IsEmpty());
  EXPECT_EQ(world.lockFiles().heldCount(), 0U);
}

TEST_F(InstanceGuardTest, MayRunImmediatelyWhereItIsAlone) {
  std::vector<bool> decisions;
  world.time().runOnMainThread([&] { guard->takeOver([&](bool mayRun) { decisions.push_back(mayRun); }); });
  EXPECT_THAT(decisions, ElementsAre(true));
  EXPECT_EQ(world.time().nextDue(), std::nullopt);
}

TEST_F(InstanceGuardTest, HoldsTheLockUntilItReleasesIt) {
  EXPECT_TRUE(guard->acquireSingleInstanceLock());
  EXPECT_TRUE(world.lockFolder().isLocked(kLock));
  guard->releaseSingleInstanceLock();
  EXPECT_FALSE(world.lockFolder().isLocked(kLock));
  guard->releaseSingleInstanceLock();
  EXPECT_EQ(world.lockFiles().heldCount(), 0U);
}

TEST_F(InstanceGuardTest, ReleasesTheLockWhenItIsDestroyed) {
  ASSERT_TRUE(guard->acquireSingleInstanceLock());
  guard.reset();
  EXPECT_FALSE(world.lockFolder().isLocked(kLock));
}

TEST_F(InstanceGuardTest, GivesWayToAnAgentThatHoldsTheLock) {
  SimulatedLockFiles other{world.lockFolder()};
  const auto held = other.acquire(kLock);
  ASSERT_EQ(held.outcome, platform::LockOutcome::acquired);
  EXPECT_FALSE(guard->acquireSingleInstanceLock());
  guard.reset();
  EXPECT_TRUE(world.lockFolder().isLocked(kLock)) << "It is the other one's.";
}

TEST_F(InstanceGuardTest, RunsUnguardedWhereTheLockFileCannotBeOpened) {
  world.lockFolder().setUnavailable(true);
  EXPECT_TRUE(guard->acquireSingleInstanceLock());
  guard->releaseSingleInstanceLock();
  EXPECT_EQ(world.lockFiles().heldCount(), 0U);
}

}  // namespace
}  // namespace quillard
