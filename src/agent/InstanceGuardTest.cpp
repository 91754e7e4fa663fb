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
    return std::make_unique<InstanceGuard>(
        InstanceGuardDependencies{world.application(), world.workspace(), world.lockFiles()});
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
  guard->terminateOtherAgents();
  EXPECT_THAT(quitRequests(), ElementsAre(502, 501, 503));
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
