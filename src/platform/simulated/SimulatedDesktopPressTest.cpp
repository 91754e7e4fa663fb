#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/SimulatedDesktopFixture.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- Presses

TEST_F(SimulatedDesktopTest, PressingAButtonClosesItsWindowAndIsRemembered) {
  const auto dialog = desktop.open({.title = "Erase disk?", .buttons = {"Cancel", "Erase"}});
  EXPECT_EQ(desktop.pressed(dialog), std::nullopt);
  world.advance(3s);
  const Instant now = world.time().monotonicNow();
  EXPECT_EQ(press(dialog, "Cancel"), AXError::success);
  EXPECT_FALSE(desktop.isOpen(dialog));
  EXPECT_EQ(desktop.pressed(dialog), "Cancel");
  ASSERT_EQ(desktop.presses().size(), 1U);
  EXPECT_EQ(desktop.presses()[0].at, now);
  EXPECT_EQ(desktop.presses()[0].window, dialog);
  EXPECT_EQ(desktop.presses()[0].label, "Cancel");
}

TEST_F(SimulatedDesktopTest, PressesByHandAreLikeThoseByRequest) {
  const auto dialog = desktop.open({.buttons = {"OK"}});
  const auto button = *desktop.findButton(dialog, "OK");
  EXPECT_TRUE(desktop.pressByHand(button));
  EXPECT_EQ(desktop.pressed(dialog), "OK");
  EXPECT_FALSE(desktop.pressByHand(button));
  EXPECT_EQ(desktop.roundTrips(), 0U);
}

TEST_F(SimulatedDesktopTest, EachButtonMayHaveItsOwnEffect) {
  const auto dialog = desktop.open(
      {.buttons = {"Inert", "Slow", "Refused"},
       .effect = PressEffect::doesNothing(),
       .effects = {{"Slow", PressEffect::closesAfter(200ms)}, {"Refused", PressEffect::fails(AXError::failure)}}});
  EXPECT_EQ(press(dialog, "Refused"), AXError::failure);
  EXPECT_EQ(desktop.pressed(dialog), std::nullopt);
  EXPECT_EQ(press(dialog, "Inert"), AXError::success);
  EXPECT_EQ(desktop.pressed(dialog), "Inert");
  EXPECT_TRUE(desktop.isOpen(dialog));
  EXPECT_EQ(press(dialog, "Slow"), AXError::success);
  world.advance(199ms);
  EXPECT_TRUE(desktop.isOpen(dialog));
  world.advance(1ms);
  EXPECT_FALSE(desktop.isOpen(dialog));
  std::vector<std::string> labels;
  for (const Press& press : desktop.presses()) labels.push_back(press.label + (press.isTaken ? "" : " refused"));
  EXPECT_THAT(labels, ElementsAre("Refused refused", "Inert", "Slow"));
}

TEST_F(SimulatedDesktopTest, ASuccessorOpensInTheSamePlace) {
  const auto app = desktop.launch();
  const auto first = desktop.open(app, {.title = "First",
                                        .buttons = {"Next"},
                                        .effect = PressEffect::opensNext({.title = "Second", .buttons = {"Done"}})});
  const Rect place = *desktop.frame(first);
  EXPECT_EQ(press(first, "Next"), AXError::success);
  EXPECT_FALSE(desktop.isOpen(first));
  ASSERT_EQ(desktop.windows(app).size(), 1U);
  const auto second = desktop.windows(app).front();
  EXPECT_EQ(read(second, "AXTitle"), "Second");
  EXPECT_EQ(desktop.frame(second)->x, place.x);
  EXPECT_EQ(desktop.frame(second)->y, place.y);
  EXPECT_EQ(press(second, "Done"), AXError::success);
  EXPECT_THAT(desktop.windows(app), IsEmpty());
}

TEST_F(SimulatedDesktopTest, AnErrorDoesNotSayThatNothingHappened) {
  const auto dialog = desktop.open({.buttons = {"OK"}, .effect = PressEffect::failsButCloses(AXError::cannotComplete)});
  EXPECT_EQ(press(dialog, "OK"), AXError::cannotComplete);
  EXPECT_FALSE(desktop.isOpen(dialog));
  EXPECT_EQ(desktop.pressed(dialog), "OK");
}

TEST_F(SimulatedDesktopTest, AButtonMayGoWhileItsWindowStays) {
  const auto dialog = desktop.open({.buttons = {"OK"}, .effect = PressEffect::disappears()});
  const auto button = *desktop.findButton(dialog, "OK");
  EXPECT_EQ(press(dialog, "OK"), AXError::success);
  EXPECT_TRUE(desktop.isOpen(dialog));
  EXPECT_EQ(perform(button, ax::kPressAction), AXError::invalidUIElement);
}

TEST_F(SimulatedDesktopTest, AnEffectMayBeAnything) {
  const auto app = desktop.launch();
  const auto quits = [app](SimulatedDesktop& there, NodeHandle) { there.terminate(app); };
  const auto dialog =
      desktop.open(app, {.buttons = {"Quit"}, .effect = PressEffect::runs(quits, AXError::notImplemented)});
  EXPECT_EQ(press(dialog, "Quit"), AXError::notImplemented);
  EXPECT_FALSE(desktop.application(app).has_value());
  EXPECT_EQ(desktop.pressed(dialog), "Quit");
}

TEST_F(SimulatedDesktopTest, AButtonInADialogInsideAWindowClosesTheDialogOnly) {
  const auto app = desktop.launch();
  const auto window = desktop.addWindow(app, {.role = "AXWindow", .title = "Page"});
  const auto inner =
      desktop.addChild(window, {.role = "AXGroup",
                                .subrole = "AXDialog",
                                .children = {{.role = "AXButton", .title = "Allow", .actions = {"AXPress"}},
                                             {.role = "AXCheckBox", .title = "Remember", .actions = {"AXPress"}}}});
  EXPECT_EQ(perform(desktop.children(inner)[1], ax::kPressAction), AXError::success);
  EXPECT_TRUE(desktop.isOpen(inner)) << "only buttons close";
  EXPECT_EQ(press(window, "Allow"), AXError::success);
  EXPECT_FALSE(desktop.isOpen(inner));
  EXPECT_TRUE(desktop.isOpen(window));
}

TEST_F(SimulatedDesktopTest, WindowActionsPressTheButtonsThatTheWindowNames) {
  const DialogSpec spec{.buttons = {"Cancel", "Erase"},
                        .defaultButton = "Erase",
                        .cancelButton = "Cancel",
                        .actions = {"AXRaise", "AXConfirm", "AXCancel"}};
  const auto first = desktop.open(spec);
  EXPECT_EQ(readNode(desktop.element(first), "AXDefaultButton"), desktop.findButton(first, "Erase"));
  EXPECT_EQ(perform(first, ax::kConfirmAction), AXError::success);
  EXPECT_EQ(desktop.pressed(first), "Erase");
  const auto second = desktop.open(spec);
  EXPECT_EQ(perform(second, ax::kCancelAction), AXError::success);
  EXPECT_EQ(desktop.pressed(second), "Cancel");
}

TEST_F(SimulatedDesktopTest, ActionsThatAreNotOfferedAreUnsupported) {
  const auto dialog = desktop.open({.lines = {"text"}, .buttons = {"OK"}});
  EXPECT_EQ(perform(dialog, ax::kConfirmAction), AXError::actionUnsupported);
  EXPECT_EQ(perform(desktop.children(dialog)[0], ax::kPressAction), AXError::actionUnsupported);
  EXPECT_EQ(world.accessibility().performAction(desktop.element(*desktop.owner(dialog)), ax::kRaiseAction),
            AXError::actionUnsupported);
  desktop.setActions(dialog, {"AXConfirm"});
  EXPECT_EQ(perform(dialog, ax::kConfirmAction), AXError::success);
  desktop.setEffect(dialog, "AXConfirm", PressEffect::fails(AXError::failure));
  EXPECT_EQ(perform(dialog, ax::kConfirmAction), AXError::failure);
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

// ---- Setting attributes

TEST_F(SimulatedDesktopTest, SettingAttributesChangesTheDesktop) {
  auto& ax = world.accessibility();
  const auto app = desktop.launch();
  const auto other = desktop.launch({.active = true});
  const auto window = desktop.open(app, {.buttons = {"OK"}});
  const auto newer = desktop.open(app, {.title = "newer"});
  const auto button = *desktop.findButton(window, "OK");

  EXPECT_EQ(ax.setAttributeValue(desktop.element(app), "AXFrontmost", true), AXError::success);
  EXPECT_TRUE(desktop.application(app)->isActive);
  EXPECT_FALSE(desktop.application(other)->isActive);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(app), "AXFocusedWindow", desktop.element(window)), AXError::success);
  EXPECT_EQ(desktop.focused(), window);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(window), "AXMain", true), AXError::success);
  EXPECT_EQ(readNode(desktop.element(app), "AXMainWindow"), window);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(button), "AXFocused", true), AXError::success);
  EXPECT_EQ(desktop.focused(), button);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(newer), "AXFocused", true), AXError::success);
  EXPECT_EQ(desktop.focused(), newer);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(window), "AXMinimized", true), AXError::success);
  EXPECT_EQ(desktop.attribute(window, "AXMinimized").value(), AXValue{true});
}

TEST_F(SimulatedDesktopTest, WhatCannotBeSetSaysWhy) {
  auto& ax = world.accessibility();
  const auto app = desktop.launch();
  const auto window = desktop.open(app, {.title = "a"});
  const auto foreign = desktop.open({.title = "of another application"});
  EXPECT_EQ(ax.setAttributeValue(desktop.element(window), "AXTitle", "b"), AXError::attributeUnsupported);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(window), "AXMain", 1), AXError::illegalArgument);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(app), "AXFocusedWindow", desktop.element(foreign)),
            AXError::illegalArgument);
  desktop.setAttributeError(window, "AXMain", AXError::cannotComplete);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(window), "AXMain", true), AXError::cannotComplete);
  desktop.close(window);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(window), "AXMain", true), AXError::invalidUIElement);
  EXPECT_EQ(ax.setAttributeValue(desktop.element(app), "AXFocusedWindow", desktop.element(window)),
            AXError::invalidUIElement);
}

// ---- Hit tests

class HitTest : public SimulatedDesktopTest {
 protected:
  AXResult<AXUIElement> hit(Point point) {
    return world.accessibility().copyElementAtPosition(world.accessibility().createSystemWide(), point);
  }
  ApplicationHandle app = desktop.launch();
  NodeHandle below = desktop.open(app, {.buttons = {"Below"}, .frame = Rect{0, 0, 400, 300}});
  NodeHandle above = desktop.open({.buttons = {"Above"}, .frame = Rect{0, 0, 400, 300}});
  Point onButton{40, 260};
};

TEST_F(HitTest, FindsTheDeepestElementOfTheTopmostWindow) {
  ASSERT_TRUE(hit(onButton).hasValue());
  EXPECT_EQ(desktop.node(hit(onButton).value()), desktop.findButton(above, "Above"));
  EXPECT_EQ(desktop.node(hit({390, 10}).value()), above);
  EXPECT_EQ(hit({500, 500}).error(), AXError::noValue);
  EXPECT_EQ(desktop.nodeAt(onButton), desktop.findButton(above, "Above"));
}

TEST_F(HitTest, RaisingAWindowBringsItUnderThePoint) {
  EXPECT_EQ(perform(below, ax::kRaiseAction), AXError::success);
  EXPECT_EQ(desktop.node(hit(onButton).value()), desktop.findButton(below, "Below"));
}

TEST_F(HitTest, WindowsThatCannotBeSeenAreNotHit) {
  desktop.hide(*desktop.owner(above));
  EXPECT_EQ(desktop.node(hit(onButton).value()), desktop.findButton(below, "Below"));
  desktop.setAttribute(below, "AXMinimized", true);
  EXPECT_EQ(hit(onButton).error(), AXError::noValue);
  desktop.setAttribute(below, "AXMinimized", false);
  desktop.setOffScreen(below, true);
  EXPECT_EQ(hit(onButton).error(), AXError::noValue);
}

TEST_F(HitTest, AnApplicationLooksAtItsOwnWindowsOnly) {
  auto& accessibility = world.accessibility();
  const auto own = accessibility.copyElementAtPosition(desktop.element(app), onButton);
  EXPECT_EQ(desktop.node(own.value()), desktop.findButton(below, "Below"));
  EXPECT_EQ(accessibility.copyElementAtPosition(desktop.element(below), onButton).error(), AXError::illegalArgument);
}

TEST_F(HitTest, TheAnswerMayBeALie) {
  desktop.setHitTest([this](Point point) -> std::optional<AXResult<NodeHandle>> {
    if (point.x < 100) return AXResult<NodeHandle>{below};
    if (point.x < 200) return AXResult<NodeHandle>{AXError::cannotComplete};
    return std::nullopt;
  });
  EXPECT_EQ(desktop.node(hit({50, 260}).value()), below);
  EXPECT_EQ(hit({150, 260}).error(), AXError::cannotComplete);
  EXPECT_EQ(desktop.node(hit({390, 10}).value()), above);
}

}  // namespace
}  // namespace quillard::platform::simulated
