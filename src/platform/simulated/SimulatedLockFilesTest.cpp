#include <optional>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedLockFiles.h"

namespace quillard::platform::simulated {
namespace {

TEST(SimulatedLockFiles, OneProcessHoldsALockUntilItIsReleased) {
  SimulatedLockFolder folder;
  SimulatedLockFiles first{folder};
  SimulatedLockFiles second{folder};
  auto held = first.acquire("agent.lock");
  EXPECT_EQ(held.outcome, LockOutcome::acquired);
  EXPECT_TRUE(held.lock);
  const auto refused = second.acquire("agent.lock");
  EXPECT_EQ(refused.outcome, LockOutcome::heldElsewhere);
  EXPECT_FALSE(refused.lock);
  EXPECT_EQ(first.acquire("agent.lock").outcome, LockOutcome::heldElsewhere) << "Nor by the same process twice.";
  EXPECT_EQ(second.acquire("other.lock").outcome, LockOutcome::acquired);
  EXPECT_EQ(first.heldCount(), 1U);
  held.lock.reset();
  EXPECT_EQ(first.heldCount(), 0U);
  EXPECT_EQ(second.acquire("agent.lock").outcome, LockOutcome::acquired);
}

TEST(SimulatedLockFiles, AProcessThatEndsReleasesItsLocks) {
  SimulatedLockFolder folder;
  std::optional<SimulatedLockFiles> first{std::in_place, folder};
  auto lost = first->acquire("agent.lock");
  EXPECT_TRUE(folder.isLocked("agent.lock"));
  first.reset();
  EXPECT_FALSE(folder.isLocked("agent.lock"));
  SimulatedLockFiles second{folder};
  const auto held = second.acquire("agent.lock");
  EXPECT_EQ(held.outcome, LockOutcome::acquired);
  lost.lock.reset();
  EXPECT_TRUE(folder.isLocked("agent.lock")) << "What a process has lost releases nothing of another one.";
}

TEST(SimulatedLockFiles, AFolderMayBeUnavailable) {
  SimulatedLockFolder folder;
  SimulatedLockFiles process{folder};
  folder.setUnavailable(true);
  const auto refused = process.acquire("agent.lock");
  EXPECT_EQ(refused.outcome, LockOutcome::unavailable);
  EXPECT_FALSE(refused.lock);
  folder.setUnavailable(false);
  EXPECT_EQ(process.acquire("agent.lock").outcome, LockOutcome::acquired);
}

}  // namespace
}  // namespace quillard::platform::simulated
