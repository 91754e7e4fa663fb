#include <memory>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/JudgeFixture.h"

// The judge alone, fed by hand with what an agent would do: that each invariant really breaks when it is broken.
namespace quillard::simulation {
namespace {

using testing::HasSubstr;

TEST_F(JudgeTest, HasNothingToSayAboutAnHonestAgent) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  auto& decision = decide(approval, "Cancel");
  const std::string id = decision.id;
  const Appearance shown = appearance();
  press(shown, "Cancel");
  life.close(shown.number);
  answer(id, "accepted");
  list({});
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesAPressThatNobodyDecided) {
  list({approvalOf(appearance(), 1)});
  press(appearance(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

TEST_F(JudgeTest, SeesAnotherButtonThanTheDecidedOne) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel");
  press(appearance(), "Not Now");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

TEST_F(JudgeTest, SeesAPressInAnotherAppearanceOfTheSameText) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel");
  life.openTwin();
  press(life.appearances().back(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

TEST_F(JudgeTest, SeesAPressForADecisionThatCameTooLate) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel").tappedAt = stage.now() - Seconds{62};
  press(appearance(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

TEST_F(JudgeTest, LetsADecisionOfAnOlderPhoneBeLate) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel", /*isNew=*/false).tappedAt = stage.now() - Seconds{62};
  press(appearance(), "Cancel");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesAPressAfterTheAnswer) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  answer(id, "failed");
  advance(1);
  press(appearance(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("was pressed again after"));
}

TEST_F(JudgeTest, SeesAnApprovalThatRequiresDirectAccess) {
  life.replaceContent(appearance().number, /*withPassword=*/true);
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Erase");
  press(appearance(), "Erase");
  EXPECT_THAT(verdict(), HasSubstr("requires direct access"));
}

// A mouse that is down comes up; who presses by hand meets the same.
TEST_F(JudgeTest, ExcusesAWindowThatTurnsIntoAnotherPromptDuringTheClick) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  life.replaceContent(appearance().number, /*withPassword=*/true);
  advance(0.07);
  click(life.appearances().back(), "Cancel");
  answer(id, "accepted");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesAClickThatBeganAfterTheWindowHadTurnedIntoAnotherPrompt) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel");
  life.replaceContent(appearance().number, /*withPassword=*/true);
  advance(0.09);
  click(life.appearances().back(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

// Nothing passes between the last look and what these do.
TEST_F(JudgeTest, SeesARequestOrAKeyThatPressesAnotherPromptThatTheWindowTurnedInto) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel");
  life.replaceContent(appearance().number, /*withPassword=*/true);
  advance(0.01);
  press(life.appearances().back(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

TEST_F(JudgeTest, ExcusesButtonsThatSwapTheirLabelsDuringTheClick) {
  life.replaceContent(appearance().number, /*withPassword=*/true);
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const auto [cancel, other] = swapLabels();
  decide(approval, cancel);
  decide(approval, other);  // Refused, as it has to be.
  advance(0.07);
  click(appearance(), other);
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesAClickThatBeganAfterTheButtonHadGotAnotherLabel) {
  life.replaceContent(appearance().number, /*withPassword=*/true);
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const auto [cancel, other] = swapLabels();
  decide(approval, cancel);
  decide(approval, other);
  advance(0.09);
  click(appearance(), other);
  EXPECT_THAT(verdict(), HasSubstr("requires direct access"));
}

TEST_F(JudgeTest, SeesARequestOrAKeyThatPressesAButtonThatGotAnotherLabel) {
  life.replaceContent(appearance().number, /*withPassword=*/false);
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const auto [cancel, other] = swapLabels();
  decide(approval, cancel);
  advance(0.01);
  press(appearance(), other);
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

// The click was right before the labels changed places, and is right after it: by the decision that came first.
TEST_F(JudgeTest, TakesAClickWhileLabelsSwapForTheDecisionThatCameFirst) {
  life.replaceContent(appearance().number, /*withPassword=*/true);
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const auto [cancel, other] = swapLabels();
  decide(approval, cancel);
  decide(approval, other);
  advance(0.07);
  click(appearance(), cancel);
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, TakesAClickWhileLabelsSwapForNoFirstPressOfTheDecisionAfterIt) {
  life.replaceContent(appearance().number, /*withPassword=*/false);
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const auto [cancel, other] = swapLabels();
  const std::string first = decide(approval, cancel).id;
  decide(approval, other);
  advance(0.07);
  click(appearance(), other);
  answer(first, "failed");
  advance(1.3);
  press(appearance(), other);
  EXPECT_EQ(verdict(), "nothing broke");
  advance(1.3);
  press(appearance(), other);
  EXPECT_THAT(verdict(), HasSubstr("after a press that could still take effect"));
}

TEST_F(JudgeTest, SeesAPressThatWasNotMeantForThePromptBeforeEither) {
  list({approvalOf(appearance(), 1)});
  life.replaceContent(appearance().number, /*withPassword=*/false);
  advance(0.05);
  click(life.appearances().back(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("no decision for it named that button"));
}

// ---- Whose press it was

TEST_F(JudgeTest, SeesAPressWhileAnEarlierOneMayStillTakeEffect) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  decide(approval, "Cancel");
  press(appearance(), "Cancel");
  advance(4.2);
  press(appearance(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("after a press that could still take effect"));
}

// Two records of one window, whose decisions arrive in one moment, the later one first.
TEST_F(JudgeTest, TakesAPressForTheDecisionThatWasDeliveredFirst) {
  const auto one = approvalOf(appearance(), 1);
  const auto other = approvalOf(appearance(), 2);
  list({one, other});
  for (const auto& approval : {one, other}) {
    ledger.add({.id = approval.id.text(),
                .pairingID = secrets.pairingID,
                .approvalID = approval.id,
                .label = "Cancel",
                .tappedAt = stage.now(),
                .isNew = true},
               approval.id.text());
  }
  ledger.deliver(*ledger.find(other.id.text()), stage.now());
  ledger.deliver(*ledger.find(one.id.text()), stage.now());
  press(appearance(), "Cancel");
  life.moveWindow();
  answer(one.id.text(), "not_found");
  EXPECT_EQ(verdict(), "nothing broke");
  answer(other.id.text(), "not_found");
  EXPECT_THAT(verdict(), HasSubstr("had been pressed"));
}

// What was answered without a connection, the judge learns when the phone asks again.
TEST_F(JudgeTest, TakesNoPressAfterAConnectionWasLostForTheOneDecisionThatMayHaveEnded) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string first = decide(approval, "Cancel").id;
  press(appearance(), "Cancel");
  judge.agentWasCutOff();
  decide(approval, "Cancel");
  advance(8);
  press(appearance(), "Cancel");
  answer(first, "failed");
  advance(4.3);
  press(appearance(), "Cancel");
  advance(1.3);
  press(appearance(), "Cancel");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesTheHurryOfADecisionAlsoAfterAConnectionWasLost) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string first = decide(approval, "Cancel").id;
  press(appearance(), "Cancel");
  judge.agentWasCutOff();
  advance(8);
  decide(approval, "Cancel");
  answer(first, "failed");
  press(appearance(), "Cancel");
  advance(1.3);
  press(appearance(), "Cancel");
  EXPECT_THAT(verdict(), HasSubstr("after a press that could still take effect"));
}

}  // namespace
}  // namespace quillard::simulation
