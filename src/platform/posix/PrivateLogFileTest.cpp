#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/PrivateLogFile.h"
#include "private-desktop/FileContents.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using platform::FileCode;

mode_t modeOf(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

class PrivateLogFileTest : public testing::Test {
 protected:
  const test::TemporaryFolder home;
  const std::string folder = home.path() + "/share/quillard";
  const std::string path = folder + "/log";
  PrivateLogFile file{folder, "log"};
};

TEST_F(PrivateLogFileTest, IsForItsUserAlone) {
  ASSERT_EQ(file.append("one\n", 0).code, FileCode::success);
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(modeOf(folder), 0700U);
  ASSERT_EQ(file.replace("two\n").code, FileCode::success);
  EXPECT_EQ(modeOf(path), 0600U);
}

TEST_F(PrivateLogFileTest, LeavesAFileAloneThatOthersMayRead) {
  ASSERT_EQ(file.append("one\n", 0).code, FileCode::success);
  ::chmod(path.c_str(), 0644);
  EXPECT_EQ(file.read().status.code, FileCode::unsafe);
  EXPECT_EQ(file.append("two\n", 4).code, FileCode::unsafe);
  EXPECT_EQ(privatedesktop::fileContents(path), "one\n");
}

TEST_F(PrivateLogFileTest, FollowsNoLinks) {
  ASSERT_EQ(file.append("one\n", 0).code, FileCode::success);
  std::ofstream(home.path() + "/target").flush();
  fs::remove(path);
  fs::create_symlink(home.path() + "/target", path);
  EXPECT_EQ(file.read().status.code, FileCode::unsafe);
  EXPECT_EQ(file.append("two\n", 0).code, FileCode::unsafe);
  EXPECT_EQ(privatedesktop::fileContents(home.path() + "/target"), "");

  fs::remove(path);
  fs::rename(folder, home.path() + "/elsewhere");
  fs::create_directory_symlink(home.path() + "/elsewhere", folder);
  EXPECT_EQ(file.append("two\n", 0).code, FileCode::unsafe);
  EXPECT_TRUE(fs::is_empty(home.path() + "/elsewhere"));
}

TEST_F(PrivateLogFileTest, DoesNotWaitForAPipeThatStandsThere) {
  ASSERT_EQ(file.append("one\n", 0).code, FileCode::success);
  fs::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(file.read().status.code, FileCode::unsafe);
  EXPECT_NE(file.append("two\n", 4).code, FileCode::success);
}

TEST_F(PrivateLogFileTest, TakesTheRestOfAReplacementAwayThatWasCutOff) {
  ASSERT_EQ(file.append("one\n", 0).code, FileCode::success);
  std::ofstream(path + ".new") << "half";
  ASSERT_EQ(file.replace("two\n").code, FileCode::success);
  EXPECT_EQ(privatedesktop::fileContents(path), "two\n");
  EXPECT_FALSE(fs::exists(path + ".new"));
}

TEST_F(PrivateLogFileTest, OverwritesNothingThatWasPutAside) {
  ASSERT_EQ(file.append("one\n", 0).code, FileCode::success);
  std::ofstream(path + ".damaged-1") << "earlier";
  EXPECT_EQ(file.putAside(), "log.damaged-2");
  EXPECT_EQ(privatedesktop::fileContents(path + ".damaged-1"), "earlier");
  EXPECT_EQ(privatedesktop::fileContents(path + ".damaged-2"), "one\n");
}

}  // namespace
}  // namespace quillard::desktop
