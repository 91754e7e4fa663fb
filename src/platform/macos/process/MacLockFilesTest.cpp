#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/process/MacLockFiles.h"
#include "platform/posix/LockedFile.h"
#include "support/TemporaryFolder.h"

namespace quillard::macos {
namespace {

using platform::LockOutcome;

TEST(MacLockFiles, HoldsALockUntilItIsReleased) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path());
  auto first = locks.acquire("agent.lock");
  ASSERT_EQ(first.outcome, LockOutcome::acquired);
  ASSERT_TRUE(first.lock);
  // Two descriptors of one process exclude each other as those of two processes do.
  const auto second = locks.acquire("agent.lock");
  EXPECT_EQ(second.outcome, LockOutcome::heldElsewhere);
  EXPECT_FALSE(second.lock);
  first.lock.reset();
  EXPECT_EQ(locks.acquire("agent.lock").outcome, LockOutcome::acquired);
}

TEST(MacLockFiles, MakesAFileForItsOwnerAloneThatNoChildInherits) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path());
  const auto lock = locks.acquire("agent.lock");
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  const int descriptor = static_cast<const desktop::LockedFile&>(*lock.lock).descriptor();
  struct stat status {};
  ASSERT_EQ(::fstat(descriptor, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
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
