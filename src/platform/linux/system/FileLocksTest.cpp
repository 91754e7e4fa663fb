#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/system/FileLocks.h"
#include "platform/linux/system/RuntimeFolder.h"
#include "platform/posix/LockedFile.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using platform::LockOutcome;
using platform::LockResult;
using test::ChildProcess;

constexpr const char* kName = "com.quillard.agent.lock";
constexpr uid_t kAnotherUser = 65534;

mode_t modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777U;
}

class FileLocksTest : public testing::Test {
 protected:
  FileLocksTest() {
    fs::create_directory(runtimeFolder);
    fs::permissions(runtimeFolder, fs::perms::owner_all);
    environment.set("XDG_RUNTIME_DIR", runtimeFolder);
    environment.set("TMPDIR", temporary.path());
  }
  [[nodiscard]] std::string path() const { return runtimeFolder + "/" + kName; }
  [[nodiscard]] std::string fallbackFolder() const {
    return temporary.path() + "/quillard-" + std::to_string(::geteuid());
  }
  void expectUnavailable() {
    const LockResult result = locks.acquire(kName);
    EXPECT_EQ(result.outcome, LockOutcome::unavailable);
    EXPECT_FALSE(result.lock);
  }
  // Another process that tries to lock the file. It may run as another user, and says what came of it.
  [[nodiscard]] ChildProcess::Start holder(std::vector<std::string> prefix = {}) const {
    prefix.insert(prefix.end(), {LOCK_HOLDER, kName});
    return {.command = std::move(prefix),
            .environment = {"XDG_RUNTIME_DIR=" + runtimeFolder, "TMPDIR=" + temporary.path(), "PATH=/usr/bin:/bin"},
            .input = {}};
  }

  const test::TemporaryFolder temporary;
  const std::string runtimeFolder = temporary.path() + "/run";
  platform::simulated::SimulatedEnvironment environment;
  FileLocks locks{environment};
};

TEST_F(FileLocksTest, MakesAFileOfTheUsersOwnInTheFolderOfTheSession) {
  const mode_t before = ::umask(0);
  LockResult lock = locks.acquire(kName);
  ::umask(before);
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  ASSERT_TRUE(lock.lock);
  const int descriptor = static_cast<const LockedFile&>(*lock.lock).descriptor();
  EXPECT_EQ(modeOf(path()), 0600U);
  EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
  lock.lock.reset();
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);  // Closed.
}

TEST_F(FileLocksTest, TakesAFileThatAnEarlierRunLeft) {
  std::ofstream(path()) << "";
  const LockResult lock = locks.acquire(kName);
  EXPECT_EQ(lock.outcome, LockOutcome::acquired);
}

TEST_F(FileLocksTest, TellsThatAnotherProcessHasTheLock) {
  ChildProcess other(holder());
  ASSERT_EQ(other.readLine(), "acquired");
  const LockResult lock = locks.acquire(kName);
  EXPECT_EQ(lock.outcome, LockOutcome::heldElsewhere);
  EXPECT_FALSE(lock.lock);
}

TEST_F(FileLocksTest, IsHeldAgainstOtherProcessesUntilReleased) {
  LockResult lock = locks.acquire(kName);
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  ChildProcess early(holder());
  EXPECT_EQ(early.readLine(), "held elsewhere");
  lock.lock.reset();
  ChildProcess late(holder());
  EXPECT_EQ(late.readLine(), "acquired");
}

TEST_F(FileLocksTest, TheLockGoesWithAKilledProcess) {
  ChildProcess other(holder());
  ASSERT_EQ(other.readLine(), "acquired");
  other.kill();
  const LockResult lock = locks.acquire(kName);
  EXPECT_EQ(lock.outcome, LockOutcome::acquired);
}

TEST_F(FileLocksTest, IsNotInheritedByProgramsThatAreStarted) {
  const LockResult lock = locks.acquire(kName);
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  ChildProcess child(
      {.command = {"sh", "-c", "echo up; exec sleep 60"}, .environment = {"PATH=/usr/bin:/bin"}, .input = {}});
  ASSERT_EQ(child.readLine(), "up");  // Only then is it another program.
  // Releasing would free an inherited lock as well, so what counts is that the child has no such descriptor.
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(child.id()) + "/fd")) {
    std::error_code error;
    EXPECT_NE(fs::read_symlink(entry.path(), error), path());
  }
}

TEST_F(FileLocksTest, FollowsNoLinkInItsPlace) {
  std::ofstream(temporary.path() + "/elsewhere") << "precious";
  fs::create_symlink(temporary.path() + "/elsewhere", path());
  expectUnavailable();
  fs::remove(path());
  fs::create_symlink(temporary.path() + "/made by the link", path());
  expectUnavailable();
  EXPECT_FALSE(fs::exists(temporary.path() + "/made by the link"));
}

TEST_F(FileLocksTest, IsNotHeldUpByAPipeInItsPlace) {
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  expectUnavailable();
}

TEST_F(FileLocksTest, LocksNoFolderInItsPlace) {
  fs::create_directory(path());
  expectUnavailable();
}

TEST_F(FileLocksTest, TakesNamesOfFilesOnly) {
  for (const std::string name : {"", ".", "..", "../lock", "/lock", "a/b"}) {
    EXPECT_EQ(locks.acquire(name).outcome, LockOutcome::unavailable) << name;
  }
}

TEST_F(FileLocksTest, LeavesTheFileOfAnotherUserAlone) {
  if (::geteuid() != 0) GTEST_SKIP() << "Only root can make a file that belongs to another user.";
  std::ofstream(path()) << "";
  ASSERT_EQ(::chown(path().c_str(), kAnotherUser, kAnotherUser), 0);
  expectUnavailable();
}

TEST_F(FileLocksTest, MakesAFolderOfItsOwnWhereTheSessionHasNone) {
  environment.set("XDG_RUNTIME_DIR", temporary.path() + "/missing");
  const LockResult lock = locks.acquire(kName);
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  EXPECT_EQ(modeOf(fallbackFolder()), 0700U);
  EXPECT_TRUE(fs::exists(fallbackFolder() + "/" + kName));
}

TEST_F(FileLocksTest, DistrustsASessionFolderThatOthersMayEnter) {
  fs::permissions(runtimeFolder, fs::perms::all);
  const LockResult lock = locks.acquire(kName);
  ASSERT_EQ(lock.outcome, LockOutcome::acquired);
  EXPECT_FALSE(fs::exists(path()));
  EXPECT_TRUE(fs::exists(fallbackFolder() + "/" + kName));
}

TEST_F(FileLocksTest, DistrustsAFallbackFolderThatOthersMayEnterOrThatIsALink) {
  environment.set("XDG_RUNTIME_DIR", temporary.path() + "/missing");
  fs::create_directory(fallbackFolder());
  fs::permissions(fallbackFolder(), fs::perms::owner_all | fs::perms::group_all);
  expectUnavailable();
  fs::remove(fallbackFolder());
  fs::create_directory_symlink(runtimeFolder, fallbackFolder());
  expectUnavailable();
}

TEST_F(FileLocksTest, DistrustsAFallbackFolderOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "Only root can make a folder that belongs to another user.";
  environment.set("XDG_RUNTIME_DIR", temporary.path() + "/missing");
  ASSERT_EQ(::mkdir(fallbackFolder().c_str(), 0700), 0);
  ASSERT_EQ(::chown(fallbackFolder().c_str(), kAnotherUser, kAnotherUser), 0);
  expectUnavailable();
}

TEST_F(FileLocksTest, IsUnavailableInAFolderThatCannotBeWritten) {
  fs::permissions(runtimeFolder, fs::perms::owner_read | fs::perms::owner_exec);
  if (::geteuid() != 0) {
    expectUnavailable();
    fs::permissions(runtimeFolder, fs::perms::owner_all);
    return;
  }
  // Permissions do not bind root, so a process of an ordinary user tries.
  fs::permissions(temporary.path(), fs::perms::owner_all | fs::perms::others_exec);
  ASSERT_EQ(::chown(runtimeFolder.c_str(), kAnotherUser, kAnotherUser), 0);
  ChildProcess user(holder({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--"}));
  const auto answer = user.readLine();
  if (!answer) GTEST_SKIP() << "Another user cannot run a program of this build folder.";
  EXPECT_EQ(answer, "unavailable");
}

TEST_F(FileLocksTest, IsUnavailableOnAFullDisk) {
  // A file system for one inode: the folder itself.
  if (::mount("tmpfs", runtimeFolder.c_str(), "tmpfs", 0, "size=4k,nr_inodes=1,mode=0700") != 0) {
    GTEST_SKIP() << "No file system can be mounted here: " << std::strerror(errno);
  }
  expectUnavailable();
  EXPECT_EQ(::umount(runtimeFolder.c_str()), 0);
}

TEST(RuntimeFolder, IsThatOfTheSessionWhereTheVariableIsLost) {
  const test::TemporaryFolder temporary;
  const std::string sessions = temporary.path() + "/user";
  const std::string own = sessions + "/" + std::to_string(::geteuid());
  platform::simulated::SimulatedEnvironment environment;
  environment.unset("XDG_RUNTIME_DIR");
  environment.set("TMPDIR", temporary.path());
  const auto opened = [&] {
    const auto folder = openRuntimeFolder(environment, sessions);
    if (!folder) return std::string("none");
    const auto path = fs::read_symlink("/proc/self/fd/" + std::to_string(*folder)).string();
    ::close(*folder);
    return path;
  };
  const auto fallback = temporary.path() + "/quillard-" + std::to_string(::geteuid());
  EXPECT_EQ(opened(), fallback) << "This user is not logged in.";
  fs::create_directories(own);
  EXPECT_EQ(opened(), fallback) << "Others may enter it.";
  fs::permissions(own, fs::perms::owner_all);
  EXPECT_EQ(opened(), own);
  environment.set("XDG_RUNTIME_DIR", fallback);
  EXPECT_EQ(opened(), fallback);
}

}  // namespace
}  // namespace quillard::desktop
