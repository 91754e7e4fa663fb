#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "desktop/AccessibleTree.h"
#include "desktop/DesktopKinds.h"
#include "desktop/DesktopProcesses.h"
#include "desktop/PrivateDesktop.h"

namespace quillard::test {
namespace {

namespace fs = std::filesystem;

constexpr int kActiveState = 1;

class DesktopOfKind : public testing::TestWithParam<DesktopKind> {
 protected:
  void SetUp() override { QUILLARD_SKIP_WITHOUT(GetParam()); }
};

DesktopProgram askPermission(PrivateDesktop& desktop) {
  return desktop.launch("zenity", {"--question", "--title=Permission", "--text=May it go on?", "--ok-label=Allow",
                                   "--cancel-label=Don't Allow"});
}

std::optional<Accessible> waitForDialog(const PrivateDesktop& desktop) {
  AccessibleTree tree(desktop);
  std::optional<Accessible> dialog;
  const bool isThere = waitFor([&] {
    dialog = tree.windowNamed("Permission");
    return dialog && dialog->find(kButtonRole, "Allow") != nullptr;
  });
  return isThere ? dialog : std::nullopt;
}

TEST_P(DesktopOfKind, ShowsADialogThatIsReadAndPressed) {
  PrivateDesktop desktop({.kind = GetParam()});
  std::cout << "Up after " << desktop.startTime().count() << " ms\n";
  auto zenity = askPermission(desktop);
  const auto dialog = waitForDialog(desktop);
  ASSERT_TRUE(dialog) << zenity.errors();
  EXPECT_NE(dialog->find(kLabelRole, "May it go on?"), nullptr) << dialog->text();
  EXPECT_TRUE(AccessibleTree(desktop).press(*dialog->find(kButtonRole, "Don't Allow")));
  EXPECT_EQ(zenity.wait(), 1);
}

TEST_P(DesktopOfKind, GivesTheKeyboardToANewDialog) {
  PrivateDesktop desktop({.kind = GetParam()});
  auto zenity = askPermission(desktop);
  ASSERT_TRUE(waitForDialog(desktop)) << zenity.errors();
  AccessibleTree tree(desktop);
  const auto isActive = [&] {
    const auto dialog = tree.windowNamed("Permission");
    return dialog && dialog->hasState(kActiveState);
  };
  if (GetParam() == DesktopKind::weston) {
    EXPECT_FALSE(isActive()) << "Weston has no keyboard without devices, so that nothing has the focus.";
  } else {
    EXPECT_TRUE(waitFor(isActive));
  }
}

TEST_P(DesktopOfKind, LeavesNothingBehind) {
  std::string folder;
  {
    PrivateDesktop desktop({.kind = GetParam()});
    folder = fs::path(desktop.folder("home")).parent_path();
    auto zenity = askPermission(desktop);
    ASSERT_TRUE(waitForDialog(desktop)) << zenity.errors();
    EXPECT_GE(processesWith(folder).size(), 5U);
  }
  EXPECT_EQ(processesWith(folder), std::vector<std::string>());
  EXPECT_FALSE(fs::exists(folder));
}

TEST_P(DesktopOfKind, RunsBesideAnotherOneOfItsKind) {
  PrivateDesktop one({.kind = GetParam()});
  const PrivateDesktop other({.kind = GetParam()});
  auto zenity = askPermission(one);
  ASSERT_TRUE(waitForDialog(one)) << zenity.errors();
  EXPECT_FALSE(AccessibleTree(other).windowNamed("Permission"));
}

INSTANTIATE_TEST_SUITE_P(Small, DesktopOfKind, kSmallDesktops, nameOfKind);
INSTANTIATE_TEST_SUITE_P(Large, DesktopOfKind, kLargeDesktops, nameOfKind);

}  // namespace
}  // namespace quillard::test
