#include <cstdint>

#include <gtest/gtest.h>

#include "platform/linux/system/ProcessHandle.h"
#include "support/ChildProcess.h"

namespace quillard::desktop {
namespace {

using test::ChildProcess;

TEST(ProcessHandle, AsksAProcessToEndPolitely) {
  ChildProcess child({.command = {TERMINATING_PROGRAM}, .environment = {"PATH=/usr/bin:/bin"}, .input = {}});
  ASSERT_EQ(child.readLine(), "up");
  EXPECT_TRUE(ProcessHandle(child.id()).terminate());
  EXPECT_EQ(child.readLine(), "will terminate");
  EXPECT_EQ(child.wait(), 0);
}

TEST(ProcessHandle, OfAProcessThatHasGoneAsksNone) {
  constexpr std::int32_t kNoProcess = 0x3FFFFFFF;
  EXPECT_FALSE(ProcessHandle(kNoProcess).terminate());
}

}  // namespace
}  // namespace quillard::desktop
