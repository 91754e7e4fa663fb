#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/process/MacConsole.h"
#include "platform/macos/process/MacEnvironment.h"
#include "platform/macos/process/MacLockFiles.h"
#include "support/TemporaryFolder.h"

namespace quillard::macos {
namespace {

using platform::LockOutcome;

// ---- Console

struct Pipe {
  Pipe() { EXPECT_EQ(::pipe(ends.data()), 0); }
  ~Pipe() {
    closeReader();
    ::close(ends[1]);
  }
  void closeReader() {
    if (ends[0] >= 0) ::close(ends[0]);
    ends[0] = -1;
  }
  std::string readSome() {
    std::array<char, 256 * 1024> bytes{};
    const ssize_t count = ::read(ends[0], bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }
  std::array<int, 2> ends{-1, -1};
};

TEST(MacConsole, WritesLineAfterLine) {
  Pipe pipe;
  MacConsole console(pipe.ends[1]);
  console.writeLine("one");
  console.writeLine("");
  console.writeLine("three");
  EXPECT_EQ(pipe.readSome(), "one\n\nthree\n");
}

TEST(MacConsole, LosesWhatNobodyHasRoomForAndEndsABrokenLine) {
  Pipe pipe;
  MacConsole console(pipe.ends[1]);
  console.writeLine(std::string(1024 * 1024, 'x'));  // Far more than a pipe holds.
  const std::string part = pipe.readSome();
  EXPECT_EQ(part, std::string(part.size(), 'x'));
  console.writeLine("next");
  EXPECT_EQ(pipe.readSome(), "\nnext\n");
}

TEST(MacConsole, OutlivesItsReader) {
  Pipe pipe;
  MacConsole console(pipe.ends[1]);
  pipe.closeReader();
  console.writeLine("nobody is there");
  console.writeLine("still nobody");
  SUCCEED() << "The process was not ended by a signal.";
}

// ---- Environment

TEST(MacEnvironment, GivesWhatIsSetAndNothingElse) {
  ASSERT_EQ(::setenv("QUILLARD_MAC_PROCESS_TEST", "value", 1), 0);
  ASSERT_EQ(::setenv("QUILLARD_MAC_PROCESS_EMPTY", "", 1), 0);
  const MacEnvironment environment;
  EXPECT_EQ(environment.value("QUILLARD_MAC_PROCESS_TEST"), "value");
  EXPECT_EQ(environment.value("QUILLARD_MAC_PROCESS_EMPTY"), "");
  EXPECT_EQ(environment.value("QUILLARD_MAC_PROCESS_ABSENT"), std::nullopt);
  EXPECT_EQ(environment.value(""), std::nullopt);
  EXPECT_EQ(environment.value("QUILLARD_MAC_PROCESS_TEST=v"), std::nullopt);
  EXPECT_EQ(environment.value(std::string_view("QUILLARD_MAC_PROCESS_TEST\0x", 27)), std::nullopt);
}

// ---- Lock files

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
