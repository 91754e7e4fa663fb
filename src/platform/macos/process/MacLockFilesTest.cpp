#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/process/MacLockFiles.h"
#include "support/TemporaryFolder.h"

namespace quillard::macos {
namespace {

using platform::LockOutcome;

TEST(MacLockFiles, HoldsALockUntilItIsReleased) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path());
  const auto first = locks.acquire("agent.lock");
  ASSERT_EQ(first.outcome, LockOutcome::acquired);
  ASSERT_GE(first.descriptor, 0);
  // Two descriptors of one process exclude each other as those of two processes do.
  const auto second = locks.acquire("agent.lock");
  EXPECT_EQ(second.outcome, LockOutcome::heldElsewhere);
  EXPECT_LT(second.descriptor, 0);
  locks.release(first.descriptor);
  const auto third = locks.acquire("agent.lock");
  EXPECT_EQ(third.outcome, LockOutcome::acquired);
  locks.release(third.descriptor);
}

TEST(MacLockFiles, MakesAFileForItsOwnerAloneThatNoChildInherits) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path());
  const auto lock = locks.acquire("agent.lock");
  struct stat status {};
  ASSERT_EQ(::fstat(lock.descriptor, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_NE(::fcntl(lock.descriptor, F_GETFD) & FD_CLOEXEC, 0);
  locks.release(lock.descriptor);
}

TEST(MacLockFiles, IsUnavailableWhereSomethingElseLies) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path());
  const std::string path = folder.path();
  ASSERT_EQ(::symlink("/etc/hostname", (path + "/link").c_str()), 0);
  ASSERT_EQ(::mkdir((path + "/folder").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo((path + "/pipe").c_str(), 0600), 0);
  for (const char* name : {"link", "folder", "pipe", "", ".", "..", "a/b"}) {
    EXPECT_EQ(locks.acquire(name).outcome, LockOutcome::unavailable) << name;
  }
  EXPECT_EQ(MacLockFiles(path + "/missing").acquire("agent.lock").outcome, LockOutcome::unavailable);
  EXPECT_EQ(MacLockFiles("").acquire("agent.lock").outcome, LockOutcome::unavailable);
}

}  // namespace
}  // namespace quillard::macos
