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

}  // namespace
}  // namespace quillard::platform::simulated
