#include <algorithm>
#include <chrono>

#include <gtest/gtest.h>

#include "desktop/LinuxAccessibilityWorld.h"
#include "desktop/SampleClient.h"
#include "desktop/SharedDesktop.h"
#include "detection/PromptReader.h"

// What the agent sees of, and does to, dialogs of real toolkits.
namespace quillard::test {
namespace {

using platform::AXError;
using platform::AXUIElement;
namespace ax = platform::ax;

enum class Kit { gtk3, qt, gtk4 };

std::string nameOf(Kit kit) { return kit == Kit::gtk3 ? "Gtk3" : kit == Kit::qt ? "Qt" : "Gtk4"; }

DesktopProgram launchPrompt(PrivateDesktop& desktop, Kit kit) {
  switch (kit) {
    case Kit::gtk3:
      return desktop.launch("zenity", {"--question", "--title=Permission", "--text=Allow the example?",
                                       "--ok-label=Allow", "--cancel-label=Don't Allow"});
    case Kit::qt:
      return desktop.launch(QT_DIALOG, {"--title=Permission", "--text=Allow the example?"});
    case Kit::gtk4:
      break;
  }
  return desktop.launch(GTK4_DIALOG, {"Permission", "Allow the example?", ""});
}

// Any prompt of any toolkit comes out alike.
class PromptOfToolkit : public testing::TestWithParam<Kit> {
 protected:
  static void TearDownTestSuite() { shared.end(); }

  PromptOfToolkit() : program(launchPrompt(world.desktop, GetParam())) {
    window = world.window(program.pid(), "Permission");
  }

  std::optional<AXUIElement> button(std::string_view label) {
    const auto scope = world.accessibility.beginReadScope();
    return world.find(*scope, *window, ax::kButtonRole, label);
  }

  // "Allow" was pressed, as the program itself tells.
  bool saysAllowed() { return GetParam() == Kit::gtk3 ? program.wait() == 0 : program.waitForOutput("\nAllow\n"); }

  // Puts the prompt away, and waits until that is seen.
  bool minimise() {
    SampleClient client{world.desktop.display()};
    return waitFor([&] {  // A window manager that has not taken the window over yet misses the first request.
      for (const auto& known : world.windows.snapshot().windows) {
        if (known.processIdentifier == program.pid()) client.minimise(static_cast<x11::WindowID>(known.id));
      }
      return flag(*window, ax::kMinimized) == true;
    });
  }

  // Of the button, once a hit test of the whole desktop finds the button there: a window that has just come up may
  // still be on its way to its place.
  std::optional<Rect> frameInPlace(const AXUIElement& button) {
    std::optional<Rect> frame;
    const bool isInPlace = waitFor([&] {
      frame = AXHelpers::frame(world.accessibility, button);
      if (!frame) return false;
      const auto hit =
          world.accessibility.copyElementAtPosition(world.accessibility.createSystemWide(), centreOf(*frame));
      return hit.hasValue() && hit.value() == button;
    });
    return isInPlace ? frame : std::nullopt;
  }
  static Point centreOf(const Rect& frame) { return {frame.x + frame.width / 2, frame.y + frame.height / 2}; }

  std::optional<bool> flag(const AXUIElement& element, std::string_view name) {
    return AXHelpers::boolAttribute(world.accessibility, element, name);
  }

  inline static SharedDesktop shared;
  LinuxAccessibilityWorld world{shared.get()};
  DesktopProgram program;
  std::optional<AXUIElement> window;
};

TEST_P(PromptOfToolkit, IsADialogWithItsTextAndItsButtons) {
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_EQ(AXHelpers::role(*scope, *window), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::subrole(*scope, *window), ax::kDialogSubrole);
  EXPECT_TRUE(world.find(*scope, *window, ax::kStaticTextRole, "Allow the example?"));
  for (const auto* label : {"Allow", "Don't Allow"}) {
    const auto found = world.find(*scope, *window, ax::kButtonRole, label);
    ASSERT_TRUE(found) << label << "\n" << world.outline(*scope, *window);
    EXPECT_EQ(AXHelpers::actionNames(*scope, *found), std::vector<std::string>{std::string(ax::kPressAction)});
    EXPECT_EQ(AXHelpers::nearestWindow(*scope, *found, 20), window);
    EXPECT_EQ(world.accessibility.processIdentifier(*found), program.pid());
  }
}

TEST_P(PromptOfToolkit, ShowsNothingBesides) {
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  int contents = 0;
  for (const auto& element : AXHelpers::deeplyNestedChildren(*scope, *window, 120)) {
    const auto role = AXHelpers::role(*scope, element);
    const bool isContent = role == ax::kButtonRole || role == ax::kStaticTextRole || role == ax::kTextFieldRole;
    if (isContent) ++contents;
  }
  EXPECT_EQ(contents, 3) << world.outline(*scope, *window, true);
}

TEST_P(PromptOfToolkit, AnswersOutsideAScopeAsWithin) {
  ASSERT_TRUE(window);
  // Again when the window moved between the two.
  EXPECT_TRUE(waitFor([&] {
    const auto scope = world.accessibility.beginReadScope();
    return world.outline(world.accessibility, *window, true) == world.outline(*scope, *window, true);
  })) << world.outline(world.accessibility, *window, true);
}

TEST_P(PromptOfToolkit, IsFoundAloneByAScopeThatWasPreparedForIt) {
  ASSERT_TRUE(window);
  const auto application = world.accessibility.createApplication(program.pid());
  const auto scope = world.accessibility.beginReadScope();
  scope->prepareApplications({&application, 1}, 80);
  const auto before = world.accessibility.counters().calls.load();
  const auto reading = PromptReader::readPrompt(
      *scope, {.window = *window, .appName = "Example", .processIdentifier = program.pid()}, 80);
  EXPECT_EQ(reading.evidence.messageLines, std::vector<std::string>{"Allow the example?"});
  EXPECT_EQ(reading.buttons.size(), 2U);
  EXPECT_EQ(world.accessibility.counters().calls.load(), before) << "Everything was read when it was prepared.";
}

TEST_P(PromptOfToolkit, GoesAwayWhenItsButtonIsPressed) {
  ASSERT_TRUE(window);
  const auto allow = button("Allow");
  ASSERT_TRUE(allow);
  // The program may be gone before it has said so.
  const auto error = world.accessibility.performAction(*allow, ax::kPressAction);
  EXPECT_TRUE(error == AXError::success || error == AXError::cannotComplete) << static_cast<int>(error);
  EXPECT_TRUE(saysAllowed());
  EXPECT_TRUE(waitFor([&] { return AXHelpers::role(world.accessibility, *window).empty(); }));
  EXPECT_TRUE(waitFor([&] { return AXHelpers::role(world.accessibility, *allow).empty(); }));
}

TEST_P(PromptOfToolkit, IsReadAndPressedWhileItIsMinimised) {
  ASSERT_TRUE(window);
  ASSERT_TRUE(minimise());
  const auto allow = button("Allow");
  ASSERT_TRUE(allow) << world.outline(world.accessibility, *window);
  (void)world.accessibility.performAction(*allow, ax::kPressAction);
  EXPECT_TRUE(saysAllowed());
}

TEST_P(PromptOfToolkit, ComesBackWhenMinimisedIsSetToFalse) {
  ASSERT_TRUE(window);
  ASSERT_TRUE(minimise());
  EXPECT_EQ(world.accessibility.setAttributeValue(*window, ax::kMinimized, false), AXError::success);
  EXPECT_TRUE(waitFor([&] { return flag(*window, ax::kMinimized) == false; }));
  EXPECT_EQ(AXHelpers::stringAttribute(world.accessibility, *window, ax::kTitle), "Permission");
}

TEST_P(PromptOfToolkit, IsTheFocusedWindowOfTheDesktopAndOfItsApplication) {
  ASSERT_TRUE(window);
  EXPECT_TRUE(waitFor([&] { return AXHelpers::focusedWindow(world.accessibility, world.accessibility) == window; }));
  const auto application = world.accessibility.createApplication(program.pid());
  EXPECT_EQ(AXHelpers::elementAttribute(world.accessibility, application, ax::kFocusedWindow), window);
  EXPECT_EQ(AXHelpers::elementAttribute(world.accessibility, application, ax::kMainWindow), window);
  EXPECT_EQ(flag(application, ax::kFrontmost), true);
  EXPECT_EQ(flag(*window, ax::kMain), true);
  EXPECT_TRUE(waitFor([&] {
    const auto focused = AXHelpers::focusedElement(world.accessibility, world.accessibility);
    return focused && AXHelpers::nearestWindow(world.accessibility, *focused, 20) == window;
  }));
}

TEST_P(PromptOfToolkit, NamesItsDefaultButtonAndNoCancelButton) {
  ASSERT_TRUE(window);
  EXPECT_TRUE(waitFor([&] {
    const auto marked = AXHelpers::elementAttribute(world.accessibility, *window, ax::kDefaultButton);
    return marked && AXHelpers::stringAttribute(world.accessibility, *marked, ax::kTitle) == "Allow";
  })) << world.outline(world.accessibility, *window);
  EXPECT_EQ(world.accessibility.copyAttributeValue(*window, ax::kCancelButton).error(), AXError::noValue);
}

TEST_P(PromptOfToolkit, TellsWhichButtonIsAtAPoint) {
  ASSERT_TRUE(window);
  const auto allow = button("Allow");
  ASSERT_TRUE(allow);
  const auto frame = frameInPlace(*allow);
  ASSERT_TRUE(frame) << "The desktop says that another element is there.";
  const auto inside =
      world.accessibility.copyElementAtPosition(world.accessibility.createApplication(program.pid()), centreOf(*frame));
  ASSERT_TRUE(inside.hasValue());
  EXPECT_EQ(inside.value(), *allow);
}

TEST_P(PromptOfToolkit, IsNotAtAPointWhereAnotherWindowCoversIt) {
  ASSERT_TRUE(window);
  const auto allow = button("Allow");
  ASSERT_TRUE(allow);
  const auto frame = frameInPlace(*allow);
  ASSERT_TRUE(frame);
  SampleClient cover{world.desktop.display()};
  cover.open({.name = "Cover", .bounds = *frame});
  EXPECT_TRUE(waitFor([&] {
    const auto hit =
        world.accessibility.copyElementAtPosition(world.accessibility.createSystemWide(), centreOf(*frame));
    return !hit.hasValue() && hit.error() == AXError::noValue;
  }));
}

TEST_P(PromptOfToolkit, IsNotAtAPointWhereAMenuOrNotificationCoversIt) {
  ASSERT_TRUE(window);
  const auto allow = button("Allow");
  ASSERT_TRUE(allow);
  const auto frame = frameInPlace(*allow);
  ASSERT_TRUE(frame);
  SampleClient cover{world.desktop.display()};
  cover.open({.name = "Cover", .bounds = *frame, .isUnmanaged = true});
  EXPECT_TRUE(waitFor([&] {
    const auto hit =
        world.accessibility.copyElementAtPosition(world.accessibility.createSystemWide(), centreOf(*frame));
    return !hit.hasValue() && hit.error() == AXError::noValue;
  }));
}

TEST_P(PromptOfToolkit, GetsTheKeyboardOnTheButtonThatIsFocused) {
  ASSERT_TRUE(window);
  const auto deny = button("Don't Allow");
  ASSERT_TRUE(deny);
  const auto error = world.accessibility.setAttributeValue(*deny, ax::kFocused, true);
  if (GetParam() == Kit::gtk4) {
    EXPECT_EQ(error, AXError::failure) << "GTK 4 cannot; the agent has other ways.";
    return;
  }
  EXPECT_EQ(error, AXError::success);
  EXPECT_TRUE(waitFor([&] { return AXHelpers::focusedElement(world.accessibility, world.accessibility) == deny; }));
}

TEST_P(PromptOfToolkit, CostsOneTimeoutWhenItsProgramHangs) {
  ASSERT_TRUE(window);
  program.stop();
  const auto application = world.accessibility.createApplication(program.pid());
  const auto scope = world.accessibility.beginReadScope();
  const auto begin = std::chrono::steady_clock::now();
  scope->prepareApplications({&application, 1}, 80);
  EXPECT_TRUE(AXHelpers::windows(*scope, application).empty());
  EXPECT_EQ(scope->copyAttributeValue(*window, ax::kTitle).error(), AXError::cannotComplete);
  EXPECT_TRUE(scope->missedTimeout(application));
  EXPECT_TRUE(scope->missedTimeout(*window));
  const auto waited = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(waited, LinuxAccessibilityWorld::kMessagingTimeout);
  EXPECT_LT(waited, 2 * LinuxAccessibilityWorld::kMessagingTimeout);
  program.resume();
  EXPECT_TRUE(waitFor([&] { return AXHelpers::role(world.accessibility, *window) == ax::kWindowRole; }))
      << "The next reading is right again.";
}

TEST_P(PromptOfToolkit, IsGoneWithItsProgram) {
  ASSERT_TRUE(window);
  const auto application = world.accessibility.createApplication(program.pid());
  program.kill();
  EXPECT_TRUE(waitFor([&] { return AXHelpers::windows(world.accessibility, application).empty(); }));
  EXPECT_TRUE(waitFor(
      [&] { return world.accessibility.copyAttributeValue(*window, ax::kRole).error() == AXError::invalidUIElement; }));
  EXPECT_EQ(world.accessibility.performAction(*window, ax::kRaiseAction), AXError::invalidUIElement);
  EXPECT_EQ(world.accessibility.processIdentifier(*window), program.pid());
}

INSTANTIATE_TEST_SUITE_P(Toolkits, PromptOfToolkit, testing::Values(Kit::gtk3, Kit::qt, Kit::gtk4),
                         [](const auto& kit) { return nameOf(kit.param); });

}  // namespace
}  // namespace quillard::test
