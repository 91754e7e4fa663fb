#include <gtest/gtest.h>

#include "platform/macos/objc/NotificationGuard.h"

namespace quillard::macos {
namespace {

TEST(NotificationGuard, LetsOnlyApplicationsThrough) {
  EXPECT_TRUE(mayUseNotificationCenter("com.quillard.agent", "/Applications/Quillard.app"));
  EXPECT_TRUE(mayUseNotificationCenter("com.quillard.agent", "/Applications/Quillard.app/"));
  EXPECT_FALSE(mayUseNotificationCenter(std::nullopt, "/Applications/Quillard.app"));
  EXPECT_FALSE(mayUseNotificationCenter("", "/Applications/Quillard.app"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", "/Users/someone/build/bin"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", "/Applications/Quillard.app/Contents/Resources"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", "/Applications/.app"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", ".app"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", ""));
}

}  // namespace
}  // namespace quillard::macos
