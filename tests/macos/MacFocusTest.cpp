#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "macos/MacAccessibilityFixture.h"

namespace quillard::test {
namespace {

using fakes::Held;
using platform::AXError;
using platform::AXUIElement;
using platform::AXValue;
namespace ax = platform::ax;

// ---- Who has the keyboard

class MacFocus : public MacAccessibility {
 protected:
  MacFocus() {
    openWindow();
    mac->desktop.focusWindow(prompt);
  }
  // Read live and through a scope, which agree.
  platform::AXResult<AXValue> read(platform::AXAttribute name) {
    const AXUIElement everything = mac->accessibility.createSystemWide();
    auto live = mac->accessibility.copyAttributeValue(everything, name);
    const auto scoped = mac->accessibility.beginReadScope()->copyAttributeValue(everything, name);
    EXPECT_EQ(live.error(), scoped.error());
    if (live.hasValue() && scoped.hasValue()) {
      EXPECT_EQ(live.value(), scoped.value());
    }
    return live;
  }
  std::optional<std::int32_t> ownerOfFocusedWindow() {
    const auto window = read(ax::kFocusedWindow);
    if (!window.hasValue()) return std::nullopt;
    return mac->accessibility.processIdentifier(std::get<AXUIElement>(window.value()));
  }
  std::int32_t process() { return mac->desktop.owner(prompt)->processIdentifier; }
};

TEST_F(MacFocus, IsAskedOfTheApplicationThatHasTheKeyboard) { EXPECT_EQ(ownerOfFocusedWindow(), process()); }

TEST_F(MacFocus, IsAskedOfTheFrontmostProcessWhereTheSystemDoesNotSayWhoHasTheKeyboard) {
  for (const ::AXError error : {kAXErrorNoValue, kAXErrorCannotComplete, kAXErrorAttributeUnsupported}) {
    mac->system.focusedApplicationError = error;
    EXPECT_EQ(ownerOfFocusedWindow(), process()) << error;
  }
}

TEST_F(MacFocus, WhoeverCannotBeToldIsNotTakenForNobody) {
  mac->desktop.deactivateAll();
  EXPECT_EQ(read(ax::kFocusedWindow).error(), AXError::noValue);
  mac->system.focusedApplicationError = kAXErrorCannotComplete;
  EXPECT_EQ(read(ax::kFocusedWindow).error(), AXError::cannotComplete);
}

TEST_F(MacFocus, NeedsThePermission) {
  mac->desktop.setTrusted(false);
  EXPECT_EQ(read(ax::kFocusedWindow).error(), AXError::apiDisabled);
  const auto scope = mac->accessibility.beginReadScope();
  EXPECT_FALSE(scope->copyAttributeValue(mac->accessibility.createSystemWide(), ax::kFocusedWindow).hasValue());
  EXPECT_EQ(scope->desktopFailure(), platform::DesktopReadFailure::notPermitted);
}

TEST_F(MacFocus, OfThisProcessIsNotAskedFor) {
  mac->system.hasFocus = true;
  for (const bool isTold : {true, false}) {
    if (!isTold) mac->system.focusedApplicationError = kAXErrorNoValue;  // The frontmost process is this one, too.
    for (const auto name : {ax::kFocusedWindow, ax::kFocusedUIElement}) {
      EXPECT_EQ(read(name).error(), AXError::noValue);
    }
  }
  mac->system.hasFocus = false;
  EXPECT_EQ(ownerOfFocusedWindow(), process());
}

TEST_F(MacFocus, ThatComesToThisProcessBetweenTwoQuestionsHarmsNothing) {
  mac->desktop.setRequestHook([&](const auto&) { mac->system.hasFocus = true; });
  EXPECT_TRUE(
      mac->accessibility.copyAttributeValue(mac->accessibility.createSystemWide(), ax::kFocusedWindow).hasValue())
      << "It was asked of the application that had the keyboard a moment ago.";
}

TEST_F(MacFocus, IsAllThatTheSystemWideElementIsAskedFor) {
  const AXUIElement everything = mac->accessibility.createSystemWide();
  const auto scope = mac->accessibility.beginReadScope();
  EXPECT_EQ(mac->accessibility.copyAttributeValue(everything, ax::kRole).error(), AXError::attributeUnsupported);
  EXPECT_EQ(scope->copyAttributeValue(everything, ax::kRole).error(), AXError::attributeUnsupported);
  EXPECT_EQ(mac->accessibility.copyActionNames(everything).error(), AXError::attributeUnsupported);
  EXPECT_EQ(scope->copyActionNames(everything).error(), AXError::attributeUnsupported);
  EXPECT_NE(mac->accessibility.performAction(everything, ax::kRaiseAction), AXError::success);
}

TEST_F(MacFocus, OfAnApplicationThatMissedItsTimeoutIsNotAskedForAgainInTheScope) {
  mac->desktop.hang({process()});
  const AXUIElement everything = mac->accessibility.createSystemWide();
  const auto scope = mac->accessibility.beginReadScope();
  const auto before = mac->world.time().monotonicNow();
  EXPECT_EQ(scope->copyAttributeValue(everything, ax::kFocusedWindow).error(), AXError::cannotComplete);
  EXPECT_EQ(scope->copyAttributeValue(everything, ax::kFocusedUIElement).error(), AXError::cannotComplete);
  EXPECT_NEAR(Seconds(mac->world.time().monotonicNow() - before).count(), 0.2, 1e-6);
}

TEST_F(MacAccessibility, AHitTestAsksWhoeverHasTheWindowAndNeverThisProcess) {
  openWindow();
  const auto frame = *mac->desktop.frame(*mac->desktop.findButton(prompt, "Allow"));
  const Point center{frame.x + frame.width / 2, frame.y + frame.height / 2};
  const AXUIElement everything = mac->accessibility.createSystemWide();
  const auto hits = [&] { return mac->accessibility.copyElementAtPosition(everything, center).hasValue(); };
  const auto window = [&](pid_t process, std::int64_t layer, double alpha, const Rect& bounds) {
    return fakes::dictionaryObject(
        {{Held::share(kCGWindowOwnerPID), fakes::integerObject(process)},
         {Held::share(kCGWindowLayer), fakes::integerObject(layer)},
         {Held::share(kCGWindowAlpha), fakes::realObject(alpha)},
         {Held::share(kCGWindowBounds),
          fakes::dictionaryObject({{Held::share(CFSTR("X")), fakes::realObject(bounds.x)},
                                   {Held::share(CFSTR("Y")), fakes::realObject(bounds.y)},
                                   {Held::share(CFSTR("Width")), fakes::realObject(bounds.width)},
                                   {Held::share(CFSTR("Height")), fakes::realObject(bounds.height)}})}});
  };
  constexpr pid_t kOther = 1;  // Which answers no question.
  EXPECT_TRUE(hits());
  mac->system.furtherWindows = {window(::getpid(), 0, 1, frame)};
  EXPECT_FALSE(hits());
  mac->system.furtherWindows = {window(::getpid(), 0, 0, frame)};  // Not to be seen.
  EXPECT_TRUE(hits());
  mac->system.furtherWindows = {window(::getpid(), 0, 1, {center.x, center.y + 1, 10, 10})};  // Beside it.
  EXPECT_TRUE(hits());
  mac->system.furtherWindows = {window(kOther, 8, 1, frame)};  // A dialog of another program covers it.
  EXPECT_FALSE(hits());
  mac->system.furtherWindows = {window(kOther, 20, 1, frame)};  // The Dock's own: nothing there.
  EXPECT_TRUE(hits());
  mac->system.furtherWindows = {window(kOther, 20, 1, frame), window(::getpid(), 0, 1, frame)};
  EXPECT_FALSE(hits());
  mac->system.furtherWindows.clear();
  for (pid_t process = 1; process <= 8; ++process) mac->system.furtherWindows.push_back(window(process, 20, 1, frame));
  EXPECT_FALSE(hits()) << "Too many to ask.";
  mac->system.furtherWindows.clear();
  mac->system.hasGraphicalSession = false;
  EXPECT_EQ(mac->accessibility.copyElementAtPosition(everything, center).error(), AXError::failure);
}

TEST_F(MacAccessibility, WhatLiesAboveAllDialogsAndHasSomethingAtThePointIsHit) {
  openWindow();
  const auto frame = *mac->desktop.frame(*mac->desktop.findButton(prompt, "Allow"));
  const auto above = mac->desktop.launch({.processIdentifier = 4711});
  const auto cover = mac->desktop.open(above, {.title = "Cover", .buttons = {"OK"}});
  mac->desktop.move(cover, frame);
  const auto hit = mac->accessibility.copyElementAtPosition(mac->accessibility.createSystemWide(),
                                                            {frame.x + frame.width / 2, frame.y + frame.height / 2});
  ASSERT_TRUE(hit.hasValue());
  EXPECT_EQ(mac->accessibility.processIdentifier(hit.value()), 4711);
}

}  // namespace
}  // namespace quillard::test
