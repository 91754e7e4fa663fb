#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/JudgeFixture.h"

// What an agent reports, judged: outcomes of decisions, and its lists.
namespace quillard::simulation {
namespace {

using testing::HasSubstr;

TEST_F(JudgeTest, SeesAnAcceptedDecisionWhosePromptIsStillThere) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  press(appearance(), "Cancel");
  answer(id, "accepted");
  EXPECT_THAT(verdict(), HasSubstr("still on the screen"));
}

TEST_F(JudgeTest, SeesAnAcceptedDecisionWithoutAPress) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  life.close(appearance().number);
  answer(id, "accepted");
  EXPECT_THAT(verdict(), HasSubstr("nothing was pressed"));
}

TEST_F(JudgeTest, ExcusesAPressThatCannotBeToldFromAWindowThatWent) {
  const Appearance shown = appearance();
  const auto approval = approvalOf(shown, 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  life.hangApplicationOf(shown.number, Seconds{1});
  life.close(shown.number);
  answer(id, "accepted");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesAFailureThatWasASuccess) {
  const Appearance shown = appearance();
  const auto approval = approvalOf(shown, 1);
  list({approval});
  advance(30);
  const std::string id = decide(approval, "Cancel").id;
  press(shown, "Cancel");
  life.close(shown.number);
  advance(5);
  answer(id, "failed");
  EXPECT_THAT(verdict(), HasSubstr("was answered with failed"));
}

// What its window shows by now, only its program can say.
TEST_F(JudgeTest, ExcusesAFailureWhereTheWindowStaysAndItsProgramFallsSilent) {
  const Appearance shown = appearance();
  const auto approval = approvalOf(shown, 1);
  list({approval});
  advance(30);
  const std::string id = decide(approval, "Cancel").id;
  press(shown, "Cancel");
  life.replaceContent(shown.number, /*withPassword=*/false);
  life.hangApplicationOf(life.open().front(), Seconds{30});
  advance(5);
  answer(id, "failed");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesAFailureWhereTheWindowStaysAndItsProgramAnswers) {
  const Appearance shown = appearance();
  const auto approval = approvalOf(shown, 1);
  list({approval});
  advance(30);
  const std::string id = decide(approval, "Cancel").id;
  press(shown, "Cancel");
  life.replaceContent(shown.number, /*withPassword=*/false);
  advance(5);
  answer(id, "failed");
  EXPECT_THAT(verdict(), HasSubstr("was answered with failed"));
}

TEST_F(JudgeTest, SeesAFailureWhereTheProgramFellSilentWhenEverythingHadBeenSaid) {
  const Appearance shown = appearance();
  const auto approval = approvalOf(shown, 1);
  list({approval});
  advance(30);
  const std::string id = decide(approval, "Cancel").id;
  press(shown, "Cancel");
  life.replaceContent(shown.number, /*withPassword=*/false);
  advance(3.5);
  life.hangApplicationOf(life.open().front(), Seconds{30});
  advance(1);
  answer(id, "failed");
  EXPECT_THAT(verdict(), HasSubstr("was answered with failed"));
}

// That the window has gone, the window server says.
TEST_F(JudgeTest, SeesAFailureWhereTheWindowWentAndItsProgramFallsSilent) {
  const Appearance shown = appearance();
  const auto approval = approvalOf(shown, 1);
  list({approval});
  advance(30);
  const std::string id = decide(approval, "Cancel").id;
  press(shown, "Cancel");
  life.openTwinOf(shown.number);
  life.close(shown.number);
  advance(0.5);
  life.hangApplicationOf(life.open().front(), Seconds{30});
  advance(5);
  answer(id, "failed");
  EXPECT_THAT(verdict(), HasSubstr("was answered with failed"));
}

TEST_F(JudgeTest, SeesNotFoundForWhatIsThereAllTheTime) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  answer(id, "not_found");
  EXPECT_THAT(verdict(), HasSubstr("is on the screen all the time"));
}

TEST_F(JudgeTest, TakesNotFoundForAButtonThatIsNotThere) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  answer(std::string(decide(approval, "Obliterate").id), "not_found");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, TakesNotFoundForWhatHasGone) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  life.close(appearance().number);
  answer(std::string(decide(approval, "Cancel").id), "not_found");
  EXPECT_EQ(verdict(), "nothing broke");
}

TEST_F(JudgeTest, SeesNotFoundForWhatWasPressed) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  press(appearance(), "Cancel");
  answer(id, "not_found");
  EXPECT_THAT(verdict(), HasSubstr("had been pressed"));
}

TEST_F(JudgeTest, SeesTwoOutcomesOfOneDecision) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  const std::string id = decide(approval, "Cancel").id;
  answer(id, "failed");
  answer(id, "not_found");
  EXPECT_THAT(verdict(), HasSubstr("and then with not_found"));
}

TEST_F(JudgeTest, SeesAnAnswerToWhatNobodyDecided) {
  answer("made-up", "failed");
  EXPECT_THAT(verdict(), HasSubstr("which nobody decided"));
}

TEST_F(JudgeTest, SeesAPromptThatIsNotOnTheScreen) {
  auto approval = approvalOf(appearance(), 1);
  approval.windowTitle = "Something else";
  list({approval});
  EXPECT_THAT(verdict(), HasSubstr("which is not on the screen"));
}

TEST_F(JudgeTest, SeesAPromptThatLeftTheListAndStayedOnTheScreen) {
  list({approvalOf(appearance(), 1)});
  advance(30);
  list({});
  EXPECT_THAT(verdict(), HasSubstr("left the list, and is on the screen"));
}

TEST_F(JudgeTest, SeesAnIdentityThatComesBack) {
  const auto approval = approvalOf(appearance(), 1);
  list({approval});
  life.close(appearance().number);
  list({});
  list({approval});
  EXPECT_THAT(verdict(), HasSubstr("had ended, and came back"));
}

TEST_F(JudgeTest, SeesAPromptsTextInClear) {
  judge.agentSent(R"({"type":"mac.snapshot-of volume 1","x":" volume 7"})", secrets);
  EXPECT_THAT(verdict(), HasSubstr("stands in clear"));
}

}  // namespace
}  // namespace quillard::simulation
