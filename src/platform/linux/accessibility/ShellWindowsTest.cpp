#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/Roles.h"
#include "support/ShellWorld.h"

// What is a window of the shell, by which its dialogs and notifications are read.
namespace quillard::atspi {
namespace {

using platform::AXError;
using test::FakeObject;
using test::kShellPanel;
using test::kShellShown;
using test::shellObject;
using test::ShellWorld;
namespace ax = platform::ax;

TEST(ShellWindows, AreItsDialogsAndNotificationsAndNeverItsStage) {
  ShellWorld world;
  std::vector<std::string> titles;
  for (const auto& window : world.allWindows())
    titles.push_back(AXHelpers::stringAttribute(world.accessibility, window, ax::kTitle).value());
  std::sort(titles.begin(), titles.end());
  EXPECT_EQ(titles, (std::vector<std::string>{"Allow camera use?", "News"}));
}

TEST(ShellWindows, AreReadLikeAnyOther) {
  ShellWorld world;
  const auto scope = world.accessibility.beginReadScope();
  for (const auto& window : AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid()))) {
    const auto reading = PromptReader::readPrompt(*scope, {.window = window, .appName = "GNOME Shell"}, 80);
    const bool isDialog = AXHelpers::subrole(*scope, window) == ax::kDialogSubrole;
    if (!isDialog) {
      EXPECT_EQ(reading.evidence.messageLines, std::vector<std::string>{"News"})
          << "Once, though it stands there twice.";
      continue;
    }
    EXPECT_EQ(reading.evidence.buttonLabels, (std::vector<std::string>{"Allow", "Don't Allow"}));
    EXPECT_EQ(reading.evidence.messageLines, (std::vector<std::string>{"Allow camera use?", "A program wants it."}));
    EXPECT_TRUE(reading.evidence.structure.isAlert);
  }
}

// The eye in the shell's password field makes an ordinary entry of it while the password is shown.
TEST(ShellWindows, KeepAPasswordThatIsShownToThemselves) {
  ShellWorld world;
  world.shell.set("/dialog", shellObject(Role::dialog, "", {"/title", "/entry", "/deny", "/allow"}));
  world.shell.set("/entry", shellObject(Role::entry, "", {"/inner"}));
  FakeObject typed = shellObject(Role::text, "", {}, kShellShown | bit(State::editable));
  typed.text = "hunter2";
  world.shell.set("/inner", typed);
  const auto scope = world.accessibility.beginReadScope();
  for (const auto& window : AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid()))) {
    if (AXHelpers::subrole(*scope, window) != ax::kDialogSubrole) continue;
    const auto reading = PromptReader::readPrompt(*scope, {.window = window, .appName = "GNOME Shell"}, 80);
    EXPECT_GE(reading.evidence.structure.secureFields, 1);
    for (const auto& line : reading.evidence.messageLines) EXPECT_EQ(line.find("hunter2"), std::string::npos);
  }
  for (const auto& question : world.shell.asked()) {
    EXPECT_NE(question, "GetText /inner");
    EXPECT_NE(question, "GetText /entry");
  }
}

TEST(ShellWindows, AreTheSameElementsInALaterReading) {
  ShellWorld world;
  const auto before = world.allWindows();
  const auto deny = world.button("Don't Allow");
  ASSERT_EQ(before.size(), 2U);
  ASSERT_TRUE(deny);
  const auto scope = world.accessibility.beginReadScope();
  // From the element, before the stage has been read.
  EXPECT_EQ(AXHelpers::stringAttribute(*scope, *deny, ax::kTitle), "Don't Allow");
  for (const auto& window : before) EXPECT_EQ(AXHelpers::role(*scope, window), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid())), before);
}

TEST(ShellWindows, GoWhenTheyNoLongerShow) {
  ShellWorld world;
  const auto dialog = world.button("Allow");
  ASSERT_TRUE(dialog);
  world.shell.set("/dialog", shellObject(Role::dialog, "", {"/title"}, 0));
  EXPECT_EQ(world.allWindows().size(), 1U);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
  EXPECT_EQ(world.accessibility.performAction(*dialog, ax::kPressAction), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
}

// So many objects that the walk ends before it has met the dialog, which lies below them.
void showManyObjects(ShellWorld& world, int rows) {
  constexpr int kInRow = 80;
  std::vector<std::string> paths;
  for (int row = 0; row < rows; ++row) {
    std::vector<std::string> inRow;
    for (int i = 0; i < kInRow; ++i) {
      inRow.push_back("/object" + std::to_string(row) + "_" + std::to_string(i));
      world.shell.set(inRow.back(), shellObject(kShellPanel, ""));
    }
    paths.push_back("/row" + std::to_string(row));
    world.shell.set(paths.back(), shellObject(kShellPanel, "", inRow));
  }
  world.shell.set("/many", shellObject(kShellPanel, "", paths));
  world.shell.set("/group", shellObject(kShellPanel, "", {"/windows", "/bar", "/tray", "/modal", "/many"}));
}

TEST(ShellWindows, AreNotGoneWhereTheStageHoldsMoreThanIsRead) {
  ShellWorld world;
  const auto windows = world.allWindows();
  const auto application = world.accessibility.createApplication(::getpid());
  showManyObjects(world, 4);
  EXPECT_EQ(world.allWindows().size(), 2U);
  showManyObjects(world, 24);  // As an overview with many programs.
  EXPECT_EQ(world.allWindows().size(), 2U);
  showManyObjects(world, 26);
  EXPECT_EQ(world.accessibility.copyAttributeValue(application, ax::kWindows).error(), AXError::cannotComplete);
  for (const auto& window : windows) {
    EXPECT_NE(world.accessibility.copyAttributeValue(window, ax::kRole).error(), AXError::invalidUIElement);
  }
}

TEST(ShellWindows, AreNotGoneWhereAPartOfTheStageRefusesToAnswer) {
  for (const std::string question : {"GetChildren", "GetState", "GetRole"}) {
    SCOPED_TRACE(question);
    ShellWorld world;
    world.compositor.refusedQuestion = question + " /modal";
    const auto application = world.accessibility.createApplication(::getpid());
    EXPECT_EQ(world.accessibility.copyAttributeValue(application, ax::kWindows).error(), AXError::cannotComplete);
  }
}

TEST(ShellWindows, AreToldWhileSomethingElseGoes) {
  ShellWorld world;
  world.shell.set("/tray", shellObject(kShellPanel, "", {"/gone", "/notification"}));
  EXPECT_EQ(world.allWindows().size(), 2U);
}

TEST(ShellWindows, ThatAreListedInACircleEnd) {
  ShellWorld world;
  world.shell.set("/allow", shellObject(Role::pushButton, "Allow", {"/dialog", "/stage"}));
  world.shell.set("/modal", shellObject(kShellPanel, "", {"/dialog", "/stage", "/group"}));
  EXPECT_EQ(world.allWindows().size(), 2U);
  EXPECT_EQ(world.allWindows().size(), 2U);
}

}  // namespace
}  // namespace quillard::atspi
