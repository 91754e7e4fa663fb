#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "contract/desktop/DesktopContract.h"

namespace quillard::test {
namespace {

namespace ax = platform::ax;
using platform::AXError;
using platform::AXUIElement;
using platform::DesktopCapability;

TEST_P(AccessibilityContract, IsTrustedOnADesktopWhoseAccessibilityIsOn) {
  EXPECT_EQ(accessibility().isProcessTrusted(), platform::ProcessTrust::granted);
}

TEST_P(AccessibilityContract, AFreshAnswerAboutTrustComesLaterAndIsTheLastKnownOne) {
  EXPECT_EQ(accessibility().lastKnownProcessTrust(), platform::ProcessTrust::granted);
  std::vector<platform::ProcessTrust> answers;
  accessibility().refreshProcessTrust([&](platform::ProcessTrust trust) { answers.push_back(trust); });
  EXPECT_TRUE(answers.empty()) << "in a later turn of the main thread";
  EXPECT_TRUE(binding->eventually([&] { return !answers.empty(); }));
  EXPECT_EQ(answers, std::vector{platform::ProcessTrust::granted});
  EXPECT_EQ(accessibility().lastKnownProcessTrust(), platform::ProcessTrust::granted);
}

TEST_P(AccessibilityContract, APromptIsAWindowOfItsApplicationWithItsTitle) {
  const auto program = binding->show({.title = "Camera access"});
  const auto prompt = window(*program);
  EXPECT_EQ(AXHelpers::role(accessibility(), prompt), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::stringAttribute(accessibility(), prompt, ax::kTitle), "Camera access");
  EXPECT_EQ(AXHelpers::role(accessibility(), application(*program)), ax::kApplicationRole);
}

TEST_P(AccessibilityContract, ADialogSaysThatItIsOne) {
  const auto program = binding->show({});
  const auto prompt = window(*program);
  EXPECT_TRUE(AXHelpers::subrole(accessibility(), prompt) == ax::kDialogSubrole ||
              AXHelpers::boolAttribute(accessibility(), prompt, ax::kModal).value_or(false));
}

TEST_P(AccessibilityContract, AButtonSaysWhetherItTakesPresses) {
  const auto program = binding->show({.buttons = {"Cancel", "Allow"}, .disabledButton = 1});
  std::map<std::string, std::optional<bool>> enabled;
  for (const auto& element : elements(*program, ax::kButtonRole)) {
    const auto label = AXHelpers::stringAttribute(accessibility(), element, ax::kTitle).value_or("");
    enabled[label] = AXHelpers::boolAttribute(accessibility(), element, ax::kEnabled);
  }
  EXPECT_EQ(enabled["Cancel"], true);
  EXPECT_EQ(enabled["Allow"], false);
}

TEST_P(AccessibilityContract, EveryButtonHasItsLabelAndAPlaceInsideItsWindow) {
  const auto program = binding->show({.buttons = {"Don’t Allow", "Don't Allow", "Allow"}});
  const auto outer = AXHelpers::frame(accessibility(), window(*program));
  ASSERT_TRUE(outer);
  std::vector<std::string> labels;
  for (const auto& element : elements(*program, ax::kButtonRole)) {
    const auto label = AXHelpers::stringAttribute(accessibility(), element, ax::kTitle).value_or("");
    if (label != "Don’t Allow" && label != "Don't Allow" && label != "Allow") continue;  // A window's own controls.
    labels.push_back(label);
    const auto inner = AXHelpers::frame(accessibility(), element);
    ASSERT_TRUE(inner) << label;
    EXPECT_GT(inner->width, 0) << label;
    EXPECT_GT(inner->height, 0) << label;
    EXPECT_GE(inner->x, outer->x) << label;
    EXPECT_GE(inner->y, outer->y) << label;
    EXPECT_LE(inner->x + inner->width, outer->x + outer->width) << label;
    EXPECT_LE(inner->y + inner->height, outer->y + outer->height) << label;
  }
  std::sort(labels.begin(), labels.end());
  EXPECT_EQ(labels, (std::vector<std::string>{"Allow", "Don't Allow", "Don’t Allow"}));
}

TEST_P(AccessibilityContract, TextsAreStaticTextsWithTheirTextAsValue) {
  const auto program = binding->show({.lines = {"First line.", "Zweite Zeile: äöü — “…”"}});
  std::vector<std::string> values;
  for (const auto& element : elements(*program, ax::kStaticTextRole)) {
    values.push_back(AXHelpers::stringAttribute(accessibility(), element, ax::kValue).value_or(""));
  }
  EXPECT_NE(std::find(values.begin(), values.end(), "First line."), values.end());
  EXPECT_NE(std::find(values.begin(), values.end(), "Zweite Zeile: äöü — “…”"), values.end());
}

TEST_P(AccessibilityContract, ASecureTextFieldSaysThatItIsOneAndNeverItsText) {
  const auto program = binding->show({.title = "Sign in", .buttons = {"Cancel", "OK"}, .hasSecureTextField = true});
  const auto fields = elements(*program, ax::kTextFieldRole);
  ASSERT_EQ(fields.size(), 1U);
  EXPECT_EQ(AXHelpers::subrole(accessibility(), fields[0]), ax::kSecureTextFieldSubrole);
  for (const auto attribute : {ax::kValue, ax::kTitle, ax::kDescription}) {
    const auto text = AXHelpers::stringAttribute(accessibility(), fields[0], attribute).value_or("");
    EXPECT_EQ(text.find("hunter2"), std::string::npos) << attribute.name();
  }
}

TEST_P(AccessibilityContract, HandlesAreEqualWhenTheirElementsAre) {
  const auto first = binding->show({.title = "One"});
  const auto second = binding->show({.title = "Two"});
  EXPECT_EQ(window(*first), window(*first));
  EXPECT_EQ(std::hash<AXUIElement>{}(window(*first)), std::hash<AXUIElement>{}(window(*first)));
  EXPECT_FALSE(window(*first) == window(*second));
  EXPECT_EQ(application(*first), accessibility().createApplication(first->processIdentifier()));
  EXPECT_FALSE(application(*first) == application(*second));
  const auto allow = button(*first, "Allow");
  const auto deny = button(*first, "Don't Allow");
  ASSERT_TRUE(allow && deny);
  EXPECT_FALSE(*allow == *deny);
  EXPECT_EQ(*allow, *button(*first, "Allow"));
}

TEST_P(AccessibilityContract, ElementsTellTheirProcess) {
  const auto program = binding->show({});
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  EXPECT_EQ(accessibility().processIdentifier(*allow), program->processIdentifier());
  EXPECT_EQ(accessibility().processIdentifier(window(*program)), program->processIdentifier());
  EXPECT_EQ(accessibility().processIdentifier(application(*program)), program->processIdentifier());
}

TEST_P(AccessibilityContract, TheParentsOfAButtonLeadToItsWindow) {
  const auto program = binding->show({});
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  EXPECT_EQ(AXHelpers::nearestWindow(accessibility(), *allow, 20), window(*program));
  EXPECT_EQ(AXHelpers::nearestButton(accessibility(), *allow, 8), *allow);
}

TEST_P(AccessibilityContract, TheDesktopKnowsTheFocusedWindowOfTheProgramInFront) {
  const auto program = binding->show({});
  (void)binding->workspace().activate(program->processIdentifier());
  if (!binding->tellsPromptInFront()) {
    const auto focused = AXHelpers::focusedWindow(accessibility(), accessibility());
    EXPECT_TRUE(!focused || *focused == window(*program)) << "It is not known, and no other one is claimed.";
    return;
  }
  EXPECT_TRUE(binding->eventually([&] {
    const auto focused = AXHelpers::focusedWindow(accessibility(), accessibility());
    return focused && *focused == window(*program);
  }));
}

TEST_P(AccessibilityContract, WhatAnElementDoesNotHaveReadsAsAbsent) {
  const auto program = binding->show({});
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  EXPECT_FALSE(accessibility().copyAttributeValue(*allow, "AXNoSuchAttribute").hasValue());
  EXPECT_FALSE(AXHelpers::boolAttribute(accessibility(), *allow, ax::kTitle));
  EXPECT_TRUE(AXHelpers::children(accessibility(), *allow, ax::kTitle).empty());
}

TEST_P(AccessibilityContract, AProcessThatIsNoneHasNothing) {
  const auto absent = accessibility().createApplication(0x3FFFFFFF);
  EXPECT_TRUE(AXHelpers::windows(accessibility(), absent).empty());
  EXPECT_FALSE(accessibility().copyAttributeValue(absent, ax::kRole).hasValue());
}

TEST_P(AccessibilityContract, PressingAButtonPressesThatOneAndTheHandlesGoStaleQuietly) {
  const auto program = binding->show({});
  const auto prompt = window(*program);
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  const auto actions = AXHelpers::actionNames(accessibility(), *allow);
  EXPECT_NE(std::find(actions.begin(), actions.end(), ax::kPressAction), actions.end());

  (void)accessibility().performAction(*allow, ax::kPressAction);
  EXPECT_TRUE(binding->eventually([&] { return !accessibility().copyAttributeValue(*allow, ax::kRole).hasValue(); }));
  // A busy program may have missed a time-out before it was pressed.
  EXPECT_TRUE(binding->eventually([&] { return !program->presses().empty(); }));
  EXPECT_EQ(program->presses(), std::vector<std::string>{"Allow"});
  EXPECT_FALSE(accessibility().copyAttributeValue(prompt, ax::kTitle).hasValue());
  EXPECT_TRUE(AXHelpers::children(accessibility(), prompt).empty());
  EXPECT_FALSE(AXHelpers::frame(accessibility(), *allow));
  EXPECT_NE(accessibility().performAction(*allow, ax::kPressAction), AXError::success);
  EXPECT_NE(accessibility().setAttributeValue(*allow, ax::kFocused, true), AXError::success);
  EXPECT_EQ(program->presses(), std::vector<std::string>{"Allow"});
}

TEST_P(AccessibilityContract, AnActionThatAnElementDoesNotOfferIsRefused) {
  const auto program = binding->show({});
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  EXPECT_NE(accessibility().performAction(*allow, "AXNoSuchAction"), AXError::success);
  EXPECT_TRUE(program->presses().empty());
}

TEST_P(AccessibilityContract, BringingAWindowForwardIsAcceptedOrRefused) {
  const auto behind = binding->show({.title = "Behind"});
  const auto before = binding->show({.title = "Before"});
  if (lacks(DesktopCapability::windowList)) {
    EXPECT_NE(accessibility().performAction(window(*behind), ax::kRaiseAction), AXError::success)
        << "A desktop that does not tell of windows cannot be asked for one, and that is said.";
    return;
  }
  EXPECT_EQ(accessibility().setAttributeValue(window(*behind), ax::kMinimized, false), AXError::success);
  EXPECT_EQ(accessibility().performAction(window(*behind), ax::kRaiseAction), AXError::success);
}

TEST_P(AccessibilityContract, AHitTestFindsTheButtonUnderItsOwnCentre) {
  const auto program = binding->show({.at = Point{200, 200}});
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  if (lacks(DesktopCapability::screenCoordinates)) return expectNoHit(*allow);
  (void)accessibility().performAction(window(*program), ax::kRaiseAction);
  EXPECT_TRUE(binding->eventually([&] {
    const auto frame = AXHelpers::frame(accessibility(), *allow);
    if (!frame) return false;
    const auto hit = accessibility().copyElementAtPosition(accessibility().createSystemWide(), center(*frame));
    return hit.hasValue() && AXHelpers::nearestButton(accessibility(), hit.value(), 8) == *allow;
  }));
}

TEST_P(AccessibilityContract, AHitTestNeverFindsWhatAnotherWindowCovers) {
  const auto below = binding->show({.title = "Below", .at = Point{200, 200}});
  const auto allow = button(*below, "Allow");
  ASSERT_TRUE(allow);
  if (lacks(DesktopCapability::screenCoordinates)) return expectNoHit(*allow);
  const auto owner = [&]() -> std::optional<std::int32_t> {
    const auto frame = AXHelpers::frame(accessibility(), *allow);
    if (!frame) return std::nullopt;
    const auto hit = accessibility().copyElementAtPosition(accessibility().createSystemWide(), center(*frame));
    return hit.hasValue() ? accessibility().processIdentifier(hit.value()) : std::nullopt;
  };
  EXPECT_TRUE(binding->eventually([&] { return owner() == below->processIdentifier(); }));
  const auto above = binding->show({.title = "Above", .at = Point{200, 200}});
  (void)accessibility().performAction(window(*above), ax::kRaiseAction);
  EXPECT_TRUE(binding->eventually([&] { return owner() == above->processIdentifier(); }));
}

TEST_P(AccessibilityContract, AProgramThatDoesNotAnswerCostsItsTimeoutAndNoMore) {
  const auto program = binding->show({});
  const auto prompt = window(*program);
  const auto element = application(*program);
  program->stop();
  const auto before = binding->clock().monotonicNow();
  EXPECT_FALSE(accessibility().copyAttributeValue(prompt, ax::kRole).hasValue());
  const auto waited = binding->clock().monotonicNow() - before;
  EXPECT_GE(waited, Seconds{0.19});
  EXPECT_LT(waited, Seconds{1});
  program->goOn();
  EXPECT_TRUE(binding->eventually([&] { return AXHelpers::role(accessibility(), prompt) == ax::kWindowRole; }));
}

}  // namespace
}  // namespace quillard::test
