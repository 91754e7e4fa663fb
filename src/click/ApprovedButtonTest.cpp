#include <gtest/gtest.h>

#include "click/ApprovedButton.h"
#include "support/ClickWorld.h"

namespace quillard {
namespace {

using platform::AXUIElement;
using samples::ClickWorld;
namespace ax = platform::ax;

using Windows = std::vector<AXUIElement>;

class ApprovedButtonTest : public testing::Test, protected ClickWorld {
 protected:
  ApprovedButtonTest() { approve(question()); }

  ApprovedButton approved() { return {*resolved, world.accessibility()}; }
  AXUIElement element(NodeHandle node) { return desktop().element(node); }
};

TEST_F(ApprovedButtonTest, WhatLiesInATargetWindowBelongsToIt) {
  const auto other = desktop().open(application, question());
  const Windows targets{element(prompt)};
  EXPECT_TRUE(approved().hitButtonBelongsToTarget(element(button()), targets));
  EXPECT_TRUE(approved().hitButtonBelongsToTarget(element(prompt), targets)) << "the window itself";
  EXPECT_FALSE(approved().hitButtonBelongsToTarget(element(*desktop().findButton(other, "Allow")), targets));
  EXPECT_FALSE(approved().hitButtonBelongsToTarget(desktop().element(application), targets));
  EXPECT_FALSE(approved().hitButtonBelongsToTarget(element(button()), {}));
}

TEST_F(ApprovedButtonTest, BelongingIsLookedForUpToTwentyLevels) {
  auto deepest = prompt;
  for (int level = 2; level <= 20; ++level) deepest = desktop().addChild(deepest, {.role = "AXGroup"});
  EXPECT_TRUE(approved().hitButtonBelongsToTarget(element(deepest), {element(prompt)}));
  deepest = desktop().addChild(deepest, {.role = "AXGroup"});
  EXPECT_FALSE(approved().hitButtonBelongsToTarget(element(deepest), {element(prompt)}));
}

TEST_F(ApprovedButtonTest, ActsOnTheOneWindowThatHoldsIt) {
  EXPECT_EQ(approved().windowsForAction(), Windows{element(prompt)});
}

TEST_F(ApprovedButtonTest, ActsOnASheetAndOnTheWindowAroundItWhenThatWasResolved) {
  const auto sheet = desktop().openSheet(prompt, question());
  resolved->element = element(*desktop().findButton(sheet, "Allow"));
  EXPECT_EQ(approved().windowsForAction(), (Windows{element(prompt), element(sheet)}));
}

TEST_F(ApprovedButtonTest, DoesNotActOnAWindowThatHoldsItNoMore) {
  resolved->window = element(desktop().open(application, question()));
  EXPECT_EQ(approved().windowsForAction(), Windows{element(prompt)});
}

TEST_F(ApprovedButtonTest, KeepsTheWindowThatWasResolvedWhenNoneCanBeToldNow) {
  desktop().setAttributeError(button(), ax::kParent, platform::AXError::cannotComplete);
  EXPECT_EQ(approved().windowsForAction(), Windows{element(prompt)});
}

TEST_F(ApprovedButtonTest, ASecondHandleIsTheSameButtonOnlyByLabelPlaceAndWindow) {
  const auto frame = desktop().frame(button());
  const platform::simulated::ElementSpec twin{.role = "AXButton", .title = "Allow", .frame = frame};
  EXPECT_TRUE(approved().isSameButton(element(desktop().addChild(prompt, twin))));
  auto elsewhere = twin;
  elsewhere.frame->x += 1;
  EXPECT_FALSE(approved().isSameButton(element(desktop().addChild(prompt, elsewhere))));
  auto otherLabel = twin;
  otherLabel.title = "allow";
  EXPECT_FALSE(approved().isSameButton(element(desktop().addChild(prompt, otherLabel))));
  auto noButton = twin;
  noButton.role = "AXGroup";
  EXPECT_FALSE(approved().isSameButton(element(desktop().addChild(prompt, noButton))));
  const auto otherWindow = desktop().open(application, question());
  EXPECT_FALSE(approved().isSameButton(element(desktop().addChild(otherWindow, twin))));
}

TEST_F(ApprovedButtonTest, IsStillItselfOnceItHasCountedDownButNotOnceItSaysSomethingElse) {
  resolved->button.label = "Restart (9)";
  const auto isIntactAs = [this](const std::string& label) {
    desktop().setAttribute(button(), ax::kTitle, label);
    chosen = label;  // By which `button` finds it from now on.
    return approved().isIntact();
  };
  EXPECT_TRUE(isIntactAs("Restart (8)"));
  EXPECT_FALSE(isIntactAs("Restart (10)"));
  EXPECT_FALSE(isIntactAs("Restart for 8 s"));
  resolved->button.label = "Allow for 5 minutes";
  EXPECT_FALSE(isIntactAs("Allow for 100 hours"));
  resolved->button.label = "Delete (3)";
  EXPECT_FALSE(isIntactAs("Delete (5000)"));
  resolved->button.label = "Pay 90 %";
  EXPECT_FALSE(isIntactAs("Pay 10 %"));
}

TEST_F(ApprovedButtonTest, BesideAnotherOneThatCountsOnlyTheExactLabelIsItself) {
  resolved->button.label = "Delete (3)";
  desktop().setAttribute(button("Always Allow"), ax::kTitle, std::string{"Delete (5)"});
  desktop().setAttribute(button(), ax::kTitle, std::string{"Delete (2)"});
  chosen = "Delete (2)";
  EXPECT_FALSE(approved().isIntact());
  desktop().setAttribute(button(), ax::kTitle, std::string{"Delete (3)"});
  EXPECT_TRUE(approved().isIntact());
}

TEST_F(ApprovedButtonTest, AnswersForAWindowThatNamesIt) {
  EXPECT_TRUE(approved().answersForWindow(element(prompt)));
  desktop().setAttribute(prompt, ax::kDefaultButton, element(button("Always Allow")));
  EXPECT_FALSE(approved().answersForWindow(element(prompt))) << "though both confirm";
}

TEST_F(ApprovedButtonTest, AnswersForAWindowThatNamesNoneOnlyAsTheOnlyButtonOfItsMeaning) {
  desktop().removeAttribute(prompt, ax::kDefaultButton);
  EXPECT_FALSE(approved().answersForWindow(element(prompt)));
  desktop().close(button("Always Allow"));
  EXPECT_TRUE(approved().answersForWindow(element(prompt)));
  for (int i = 0; i < 120; ++i) desktop().addChild(prompt, {.role = "AXGroup"});
  EXPECT_FALSE(approved().answersForWindow(element(prompt))) << "there may be others further down";
}

TEST_F(ApprovedButtonTest, DoesNotAnswerForAWindowThatDoesNotSay) {
  desktop().close(button("Always Allow"));
  desktop().setAttributeError(prompt, ax::kDefaultButton, platform::AXError::cannotComplete);
  EXPECT_FALSE(approved().answersForWindow(element(prompt)));
  desktop().setAttribute(prompt, ax::kDefaultButton, std::string{"Allow"});
  EXPECT_FALSE(approved().answersForWindow(element(prompt)));
}

TEST_F(ApprovedButtonTest, AnotherWindowWithTheKeysTakesThemAway) {
  world.desktop().setFocusedWindow(prompt);
  EXPECT_TRUE(approved().hasKeysOfProcess());
  EXPECT_FALSE(approved().hasKeysOfDesktop()) << "its application is not in front";
  desktop().activate(application);
  EXPECT_TRUE(approved().hasKeysOfDesktop());
  desktop().open(application, question());
  EXPECT_FALSE(approved().hasKeysOfProcess());
  EXPECT_FALSE(approved().hasKeysOfDesktop());
}

}  // namespace
}  // namespace quillard
