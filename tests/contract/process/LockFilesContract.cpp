#include "contract/process/LockFilesContract.h"

namespace quillard::test {

using platform::LockOutcome;

namespace {

constexpr const char* kLockName = "com.quillard.agent.lock";

}  // namespace

TEST_P(LockFilesContract, IsHeldAgainstOtherProcessesUntilReleased) {
  auto held = binding->acquire(kLockName);
  EXPECT_EQ(held.outcome, LockOutcome::acquired);
  EXPECT_NE(held.lock, nullptr);
  EXPECT_EQ(binding->acquireInOtherProcess(kLockName), LockOutcome::heldElsewhere);
  held.lock.reset();
  EXPECT_EQ(binding->acquireInOtherProcess(kLockName), LockOutcome::acquired);
}

TEST_P(LockFilesContract, IsFreeOnceTheProcessThatHeldItHasEnded) {
  EXPECT_EQ(binding->acquireInOtherProcess(kLockName), LockOutcome::acquired);
  const auto refused = binding->acquire(kLockName);
  EXPECT_EQ(refused.outcome, LockOutcome::heldElsewhere);
  EXPECT_EQ(refused.lock, nullptr);
  binding->endOtherProcess();
  EXPECT_EQ(binding->acquire(kLockName).outcome, LockOutcome::acquired);
}

TEST_P(LockFilesContract, IsHeldAgainstTheProcessItself) {
  const auto held = binding->acquire(kLockName);
  ASSERT_EQ(held.outcome, LockOutcome::acquired);
  EXPECT_EQ(binding->acquire(kLockName).outcome, LockOutcome::heldElsewhere);
}

TEST_P(LockFilesContract, FilesAreLockedSeparately) {
  const auto held = binding->acquire(kLockName);
  EXPECT_EQ(binding->acquire("another.lock").outcome, LockOutcome::acquired);
  EXPECT_EQ(binding->acquireInOtherProcess("another.lock"), LockOutcome::acquired) << "released right away";
}

TEST_P(LockFilesContract, AcceptsNamesOfFilesOnly) {
  for (const char* const name : {"", ".", "..", "../lock", "/lock", "a/b"}) {
    EXPECT_EQ(binding->acquire(name).outcome, LockOutcome::unavailable) << name;
  }
}

TEST_P(LockFilesContract, IsUnavailableWhereTheFolderCannotBeUsed) {
  binding->makeFolderUnusable();
  const auto refused = binding->acquire(kLockName);
  EXPECT_EQ(refused.outcome, LockOutcome::unavailable);
  EXPECT_EQ(refused.lock, nullptr);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LockFilesContract);

}  // namespace quillard::test
