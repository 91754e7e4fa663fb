#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class SimulatedDesktopTest : public testing::Test {
 protected:
  // What a live read answers, as text: the text itself, or "error N" or "other".
  std::string read(NodeHandle node, std::string_view name) {
    const auto answer = desktop.attribute(node, name);
    if (!answer.hasValue()) return "error " + std::to_string(static_cast<int>(answer.error()));
    const auto* const text = std::get_if<std::string>(&answer.value());
    return text ? *text : "other";
  }
  std::optional<NodeHandle> readNode(const AXUIElement& from, std::string_view name) {
    const auto answer = world.accessibility().copyAttributeValue(from, name);
    if (!answer.hasValue()) return std::nullopt;
    const auto* const element = std::get_if<AXUIElement>(&answer.value());
    return element ? desktop.node(*element) : std::nullopt;
  }
  AXError perform(NodeHandle node, std::string_view action) {
    return world.accessibility().performAction(desktop.element(node), action);
  }
  AXError press(NodeHandle window, std::string_view label) {
    const auto button = desktop.findButton(window, label);
    return button ? perform(*button, ax::kPressAction) : AXError::failure;
  }

  SimulatedWorld world{Seed{7}};
  SimulatedDesktop& desktop = world.desktop();
};

// ---- Dialogs

TEST_F(SimulatedDesktopTest, ADialogHasItsTextsAboveItsButtonsAndReadsInThatOrder) {
  const auto installer = desktop.launch({.name = "Installer", .bundleIdentifier = "com.example.installer"});
  const auto dialog = desktop.open(
      installer,
      {.title = "Erase disk?", .lines = {"This cannot be undone.", "Sure?"}, .buttons = {"Cancel", "Erase"}});
  EXPECT_EQ(read(dialog, "AXRole"), "AXWindow");
  EXPECT_EQ(read(dialog, "AXSubrole"), "AXDialog");
  EXPECT_EQ(read(dialog, "AXTitle"), "Erase disk?");
  EXPECT_EQ(desktop.attribute(dialog, "AXModal").value(), AXValue{true});

  const auto parts = desktop.children(dialog);
  ASSERT_EQ(parts.size(), 4U);
  EXPECT_EQ(read(parts[0], "AXValue"), "This cannot be undone.");
  EXPECT_EQ(read(parts[1], "AXValue"), "Sure?");
  EXPECT_EQ(read(parts[2], "AXTitle"), "Cancel");
  EXPECT_EQ(read(parts[3], "AXTitle"), "Erase");

  const Rect window = *desktop.frame(dialog);
  const Rect first = *desktop.frame(parts[0]);
  const Rect second = *desktop.frame(parts[1]);
  const Rect cancel = *desktop.frame(parts[2]);
  const Rect erase = *desktop.frame(parts[3]);
  EXPECT_LT(first.y + first.height, second.y);
  EXPECT_LT(second.y + second.height, cancel.y);
  EXPECT_EQ(cancel.y, erase.y);
  EXPECT_LT(cancel.x + cancel.width, erase.x);
  EXPECT_LT(erase.x + erase.width, window.x + window.width);
  EXPECT_LT(erase.y + erase.height, window.y + window.height);
}

TEST_F(SimulatedDesktopTest, ADialogIsWideEnoughForItsButtons) {
  const auto dialog = desktop.open({.buttons = {std::string(60, 'a'), std::string(60, 'b'), "c"}});
  const Rect last = *desktop.frame(*desktop.findButton(dialog, "c"));
  const Rect window = *desktop.frame(dialog);
  EXPECT_LE(last.x + last.width, window.x + window.width);
}

TEST_F(SimulatedDesktopTest, DialogsWithoutAnOwnerBelongToOneExampleApplication) {
  const auto first = desktop.open({.title = "one"});
  const auto second = desktop.open({.title = "two"});
  ASSERT_TRUE(desktop.owner(first).has_value());
  EXPECT_EQ(desktop.owner(first), desktop.owner(second));
  EXPECT_EQ(desktop.application(*desktop.owner(first))->localizedName, "Example");
  EXPECT_NE(*desktop.frame(first), *desktop.frame(second));

  desktop.terminate(*desktop.owner(first));
  const auto third = desktop.open({.title = "three"});
  EXPECT_TRUE(desktop.isOpen(third));
}

TEST_F(SimulatedDesktopTest, NothingOpensInAnApplicationThatHasEnded) {
  const auto gone = desktop.launch();
  desktop.terminate(gone);
  EXPECT_FALSE(desktop.isOpen(desktop.open(gone, {.title = "x"})));
  EXPECT_FALSE(desktop.isOpen(desktop.addWindow(gone, {})));
}

TEST_F(SimulatedDesktopTest, AnElementTreeIsBuiltAsItIsSpelled) {
  const auto app = desktop.launch({.name = "Editor"});
  const auto window = desktop.addWindow(
      app, {.role = "AXWindow",
            .title = "Untitled",
            .frame = Rect{10, 20, 300, 200},
            .attributes = {{"AXDocument", "file:///tmp/a"}, {"AXNumber", 3}},
            .errors = {{"AXHelp", AXError::cannotComplete}},
            .actions = {"AXRaise"},
            .children = {{.role = "AXGroup", .children = {{.role = "AXButton", .description = "Close"}}}}});
  EXPECT_EQ(read(window, "AXDocument"), "file:///tmp/a");
  EXPECT_EQ(desktop.attribute(window, "AXNumber").value(), AXValue{std::int64_t{3}});
  EXPECT_EQ(desktop.attribute(window, "AXHelp").error(), AXError::cannotComplete);
  EXPECT_EQ(desktop.attribute(window, "AXDescription").error(), AXError::attributeUnsupported);
  EXPECT_EQ(desktop.attribute(window, "AXPosition").value(), (AXValue{Point{10, 20}}));
  EXPECT_EQ(desktop.attribute(window, "AXSize").value(), (AXValue{Size{300, 200}}));
  const auto button = desktop.findButton(window, "Close");
  ASSERT_TRUE(button.has_value());
  EXPECT_EQ(desktop.windowOf(*button), window);
  EXPECT_EQ(desktop.parent(*button), desktop.children(window).front());
}

TEST_F(SimulatedDesktopTest, AttributesCanBeOverriddenFailAndGo) {
  const auto dialog = desktop.open({.title = "Old"});
  desktop.setAttribute(dialog, "AXTitle", "New");
  EXPECT_EQ(read(dialog, "AXTitle"), "New");
  desktop.setAttributeError(dialog, "AXTitle", AXError::noValue);
  EXPECT_EQ(desktop.attribute(dialog, "AXTitle").error(), AXError::noValue);
  desktop.removeAttribute(dialog, "AXTitle");
  EXPECT_EQ(desktop.attribute(dialog, "AXTitle").error(), AXError::attributeUnsupported);

  desktop.setAttributeError(dialog, "AXParent", AXError::cannotComplete);
  EXPECT_EQ(desktop.attribute(dialog, "AXParent").error(), AXError::cannotComplete);
  desktop.removeAttribute(dialog, "AXParent");
  EXPECT_EQ(desktop.attribute(dialog, "AXParent").value(), AXValue{desktop.element(*desktop.owner(dialog))});
}

TEST_F(SimulatedDesktopTest, AnElementMayStandAloneAndEndsWithItsApplication) {
  const auto app = desktop.launch({.name = "App"});
  const auto bar = desktop.addElement(app, {.role = "AXMenuBar", .children = {{.role = "AXMenu"}}});
  EXPECT_THAT(desktop.windows(app), IsEmpty());
  EXPECT_EQ(desktop.attribute(bar, "AXParent").value(), AXValue{desktop.element(app)});
  EXPECT_EQ(desktop.attribute(bar, "AXMain").error(), AXError::attributeUnsupported);
  EXPECT_TRUE(world.windowList().copyWindowInfo(WindowListOptions::all).empty());
  const auto menu = desktop.children(bar).front();
  desktop.terminate(app);
  EXPECT_FALSE(desktop.isOpen(bar));
  EXPECT_FALSE(desktop.isOpen(menu));
}

TEST_F(SimulatedDesktopTest, ActionNamesMayBeRefused) {
  const auto dialog = desktop.open({.title = "x"});
  desktop.setActionsError(dialog, AXError::notImplemented);
  EXPECT_EQ(world.accessibility().copyActionNames(desktop.element(dialog)).error(), AXError::notImplemented);
  EXPECT_EQ(perform(dialog, ax::kRaiseAction), AXError::success);
}

TEST_F(SimulatedDesktopTest, ChildrenCanBeACycle) {
  const auto dialog = desktop.open({.lines = {"a"}});
  const auto text = desktop.children(dialog).front();
  desktop.setAttribute(text, "AXChildren", std::vector{desktop.element(dialog)});
  const auto answer = desktop.attribute(text, "AXChildren");
  EXPECT_EQ(answer.value(), AXValue{std::vector{desktop.element(dialog)}});
  EXPECT_EQ(desktop.parent(text), dialog);
}

TEST_F(SimulatedDesktopTest, ChildrenAreReorderedOnlyAsAWhole) {
  const auto dialog = desktop.open({.lines = {"a", "b"}});
  const auto parts = desktop.children(dialog);
  desktop.reorderChildren(dialog, {parts[1], parts[0]});
  EXPECT_THAT(desktop.children(dialog), ElementsAre(parts[1], parts[0]));
  desktop.reorderChildren(dialog, {parts[0]});
  EXPECT_THAT(desktop.children(dialog), ElementsAre(parts[1], parts[0]));
}

TEST_F(SimulatedDesktopTest, MovingAWindowTakesItsContentAlong) {
  const auto dialog = desktop.open({.buttons = {"OK"}, .frame = Rect{100, 100, 400, 200}});
  const auto button = *desktop.findButton(dialog, "OK");
  const Rect before = *desktop.frame(button);
  desktop.move(dialog, {150, 90, 400, 200});
  EXPECT_EQ(*desktop.frame(dialog), (Rect{150, 90, 400, 200}));
  EXPECT_EQ(*desktop.frame(button), (Rect{before.x + 50, before.y - 10, before.width, before.height}));
}

TEST_F(SimulatedDesktopTest, HandlesOfClosedWindowsStayStaleAndEqualToThemselves) {
  const auto dialog = desktop.open({.buttons = {"OK"}});
  const auto button = *desktop.findButton(dialog, "OK");
  const AXUIElement before = desktop.element(button);
  desktop.close(dialog);
  EXPECT_FALSE(desktop.isOpen(dialog));
  EXPECT_FALSE(desktop.isOpen(button));
  EXPECT_EQ(desktop.attribute(button, "AXRole").error(), AXError::invalidUIElement);
  EXPECT_EQ(desktop.element(button), before);
  EXPECT_NE(desktop.open({.buttons = {"OK"}}), dialog);
}

// ---- Focus

TEST_F(SimulatedDesktopTest, TheSystemsFocusIsThatOfTheApplicationInFront) {
  const AXUIElement systemWide = world.accessibility().createSystemWide();
  const auto first = desktop.launch({.name = "First"});
  const auto second = desktop.launch({.name = "Second"});
  const auto a = desktop.open(first, {.title = "a", .buttons = {"OK"}});
  const auto b = desktop.open(second, {.title = "b"});
  EXPECT_EQ(readNode(systemWide, "AXFocusedWindow"), std::nullopt);

  desktop.focusWindow(a);
  EXPECT_EQ(readNode(systemWide, "AXFocusedWindow"), a);
  EXPECT_EQ(readNode(systemWide, "AXFocusedUIElement"), std::nullopt);
  EXPECT_TRUE(desktop.application(first)->isActive);

  desktop.activate(second);
  EXPECT_EQ(readNode(systemWide, "AXFocusedWindow"), b);
  EXPECT_FALSE(desktop.application(first)->isActive);

  const auto button = *desktop.findButton(a, "OK");
  desktop.focusElement(button);
  EXPECT_EQ(readNode(systemWide, "AXFocusedUIElement"), button);
  EXPECT_EQ(readNode(systemWide, "AXFocusedWindow"), a);
  EXPECT_EQ(desktop.focused(), button);

  desktop.deactivateAll();
  EXPECT_EQ(desktop.focused(), std::nullopt);
}

TEST_F(SimulatedDesktopTest, AnApplicationKnowsItsWindowsItsMainAndItsFocusedOne) {
  const auto app = desktop.launch({.name = "App"});
  const AXUIElement element = desktop.element(app);
  const auto older = desktop.open(app, {.title = "older"});
  const auto newer = desktop.open(app, {.title = "newer"});
  EXPECT_THAT(desktop.windows(app), ElementsAre(older, newer));
  EXPECT_EQ(readNode(element, "AXMainWindow"), newer);
  EXPECT_EQ(readNode(element, "AXFocusedWindow"), newer);

  desktop.setMainWindow(older);
  EXPECT_EQ(readNode(element, "AXMainWindow"), older);
  EXPECT_EQ(desktop.attribute(older, "AXMain").value(), AXValue{true});
  EXPECT_EQ(desktop.attribute(newer, "AXMain").value(), AXValue{false});
  EXPECT_EQ(desktop.attribute(newer, "AXFocused").value(), AXValue{true});

  desktop.close(newer);
  EXPECT_THAT(desktop.windows(app), ElementsAre(older));
  EXPECT_EQ(readNode(element, "AXFocusedWindow"), older);
  desktop.close(older);
  EXPECT_EQ(readNode(element, "AXFocusedWindow"), std::nullopt);
  EXPECT_EQ(readNode(element, "AXMainWindow"), std::nullopt);
}

TEST_F(SimulatedDesktopTest, ASheetTakesTheFocusAndGivesItBackToItsWindow) {
  const auto app = desktop.launch();
  const auto window = desktop.open(app, {.title = "Document"});
  const auto above = desktop.open(app, {.title = "Another document"});
  desktop.setMainWindow(window);
  const auto sheet = desktop.openSheet(window, {.title = "Save?", .buttons = {"Save"}});
  EXPECT_EQ(read(sheet, "AXRole"), "AXSheet");
  EXPECT_EQ(desktop.parent(sheet), window);
  EXPECT_THAT(desktop.windows(app), ElementsAre(window, above));
  EXPECT_EQ(readNode(desktop.element(app), "AXFocusedWindow"), sheet);
  EXPECT_EQ(readNode(desktop.element(app), "AXMainWindow"), window);
  EXPECT_EQ(press(sheet, "Save"), AXError::success);
  EXPECT_FALSE(desktop.isOpen(sheet));
  EXPECT_TRUE(desktop.isOpen(window));
  EXPECT_EQ(readNode(desktop.element(app), "AXFocusedWindow"), window);
  EXPECT_EQ(desktop.pressed(sheet), "Save");
  EXPECT_EQ(desktop.pressed(window), "Save");
}

TEST_F(SimulatedDesktopTest, AnythingCanBeSaidOfTheSystemWideElement) {
  const auto dialog = desktop.open({.title = "prompt of a service that is never in front"});
  desktop.setSystemWideAttribute("AXFocusedWindow", desktop.element(dialog));
  EXPECT_EQ(readNode(world.accessibility().createSystemWide(), "AXFocusedWindow"), dialog);
  desktop.setSystemWideAttributeError("AXFocusedWindow", AXError::cannotComplete);
  EXPECT_EQ(readNode(world.accessibility().createSystemWide(), "AXFocusedWindow"), std::nullopt);
}

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
