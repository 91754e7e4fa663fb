// Tests that are run by a test, with --gtest_filter: one that is to be killed, one that is meant to fail.

#include <iostream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/PrivateDesktop.h"

namespace quillard::test {
namespace {

TEST(DesktopOwner, WaitsToBeKilled) {
  PrivateDesktop desktop({.hasNotifications = true, .secretService = PrivateDesktop::Options::SecretService::unlocked});
  auto program = desktop.launch("sh", {"-c", "sleep 600 & echo up; sleep 601"});
  ASSERT_TRUE(program.waitForOutput("up"));
  std::cout << "folder: " << desktop.folder("home") << "\ndisplay: " << desktop.display() << std::endl;
  while (true) ::pause();
}

TEST(DesktopOwner, Fails) {
  const PrivateDesktop desktop({.width = 320, .height = 200});
  EXPECT_TRUE(desktop.display().empty()) << "This is meant to fail.";
  EXPECT_TRUE(desktop.display().empty()) << "A second failure needs no second picture.";
}

}  // namespace
}  // namespace quillard::test
