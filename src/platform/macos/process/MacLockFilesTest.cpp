#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/process/MacLockFiles.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/TemporaryFolder.h"

namespace quillard::macos {
namespace {

using platform::LockOutcome;

class MacLockFilesTest : public testing::Test {
 protected:
  platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
  platform::simulated::VirtualTime& time = world.time();
};

TEST_F(MacLockFilesTest, HoldsALockUntilItIsReleased) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path(), time.mainThread());
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

TEST_F(MacLockFilesTest, MakesAFileForItsOwnerAloneThatNoChildInherits) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path(), time.mainThread());
  const auto lock = locks.acquire("agent.lock");
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  const std::string path = folder.path() + "/agent.lock";
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(std::system(("test -z \"$(find /proc/self/fd/ -lname '" + path + "')\"").c_str()), 0);
}

TEST_F(MacLockFilesTest, IsTouchedWhileItIsHeldSoThatNothingTidiesItAway) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path() + "/agent.lock";
  MacLockFiles locks(folder.path(), time.mainThread());
  auto held = locks.acquire("agent.lock");
  const auto isOld = [&] {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mtime == 1000 && status.st_atime == 1000;
  };
  const timespec longAgo[2]{{1000, 0}, {1000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), longAgo, 0), 0);
  time.advance(MacLockFiles::kTouchInterval - Seconds{1});
  EXPECT_TRUE(isOld());
  time.advance(Seconds{2});
  EXPECT_FALSE(isOld());
  held.lock.reset();
  EXPECT_EQ(time.nextDue(), std::nullopt);
}

TEST_F(MacLockFilesTest, IsLockedAnewShouldItsFileHaveGone) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path(), time.mainThread());
  const auto held = locks.acquire("agent.lock");
  ASSERT_EQ(::unlink((folder.path() + "/agent.lock").c_str()), 0);
  time.advance(MacLockFiles::kTouchInterval);
  EXPECT_EQ(locks.acquire("agent.lock").outcome, LockOutcome::heldElsewhere);
}

TEST_F(MacLockFilesTest, IsUnavailableWhereSomethingElseLies) {
  const test::TemporaryFolder folder;
  MacLockFiles locks(folder.path(), time.mainThread());
  const std::string path = folder.path();
  ASSERT_EQ(::symlink("/etc/hostname", (path + "/link").c_str()), 0);
  ASSERT_EQ(::mkdir((path + "/folder").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo((path + "/pipe").c_str(), 0600), 0);
  for (const char* name : {"link", "folder", "pipe", "", ".", "..", "a/b"}) {
    EXPECT_EQ(locks.acquire(name).outcome, LockOutcome::unavailable) << name;
  }
  EXPECT_EQ(MacLockFiles(path + "/missing", time.mainThread()).acquire("agent.lock").outcome, LockOutcome::unavailable);
  EXPECT_EQ(MacLockFiles("", time.mainThread()).acquire("agent.lock").outcome, LockOutcome::unavailable);
}

}  // namespace
}  // namespace quillard::macos
