#include <optional>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedLockFiles.h"

namespace quillard::platform::simulated {
namespace {

TEST(SimulatedLockFiles, OneProcessHoldsALockUntilItLetsGo) {
  SimulatedLockFolder folder;
  SimulatedLockFiles first{folder};
  SimulatedLockFiles second{folder};
  const auto lock = first.acquire("agent.lock");
  EXPECT_EQ(lock.outcome, LockOutcome::acquired);
  EXPECT_GE(lock.descriptor, 0);
  EXPECT_EQ(second.acquire("agent.lock").outcome, LockOutcome::heldElsewhere);
  EXPECT_LT(second.acquire("agent.lock").descriptor, 0);
  EXPECT_EQ(second.acquire("other.lock").outcome, LockOutcome::acquired);
  first.release(lock.descriptor);
  EXPECT_EQ(first.heldCount(), 0U);
  EXPECT_EQ(second.acquire("agent.lock").outcome, LockOutcome::acquired);
}

TEST(SimulatedLockFiles, AProcessThatEndsLetsGo) {
  SimulatedLockFolder folder;
  std::optional<SimulatedLockFiles> first{std::in_place, folder};
  EXPECT_EQ(first->acquire("agent.lock").outcome, LockOutcome::acquired);
  EXPECT_TRUE(folder.isLocked("agent.lock"));
  first.reset();
  EXPECT_FALSE(folder.isLocked("agent.lock"));
}

TEST(SimulatedLockFiles, AFolderMayBeUnavailable) {
  SimulatedLockFolder folder;
  SimulatedLockFiles process{folder};
  folder.setUnavailable(true);
  EXPECT_EQ(process.acquire("agent.lock").outcome, LockOutcome::unavailable);
  folder.setUnavailable(false);
  EXPECT_EQ(process.acquire("agent.lock").outcome, LockOutcome::acquired);
}

TEST(SimulatedLockFiles, NobodyLetsGoOfWhatTheyDoNotHold) {
  SimulatedLockFolder folder;
  SimulatedLockFiles first{folder};
  SimulatedLockFiles second{folder};
  const auto lock = first.acquire("agent.lock");
  EXPECT_DEATH(second.release(lock.descriptor), "not held");
}

}  // namespace
}  // namespace quillard::platform::simulated
