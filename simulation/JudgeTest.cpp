#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"
#include "simulation/Judge.h"

// The judge alone, fed by hand with what an agent would do: that each invariant really breaks when it is broken.
namespace quillard::simulation {
namespace {

using testing::HasSubstr;

class JudgeTest : public testing::Test {
 protected:
  JudgeTest() {
    secrets.pairingID = "pairing-1";
    secrets.relayAuthToken = Secret(std::string(64, 'a'));
    secrets.e2eSecret = Secret(std::string(64, 'b'));
    while (life.open().empty()) life.openPrompt();
  }

  const Appearance& appearance() { return life.appearances()[life.open().front()]; }

  PendingApproval approvalOf(const Appearance& shown, std::uint8_t number) {
    PendingApproval approval;
    approval.id = Uuid::fromRandomBytes({number});
    approval.suppressionID = Uuid::fromRandomBytes({number, 1});
    approval.windowTitle = shown.content.title;
    approval.windowFrame = shown.places.back();
    approval.requiresDirectAccess = shown.content.needsDirectAccess;
    return approval;
  }

  Json seal(const Json& content) {
    return toJson(std::get<EncryptedRelayPayload>(RelayCrypto::seal(content, secrets.e2eSecret, world.random())));
  }

  void list(const std::vector<PendingApproval>& approvals) {
    const Json frame{
        {"type", "mac.snapshot"}, {"accessibilityTrusted", true}, {"encryptedApprovals", seal(toJson(approvals))}};
    judge.agentSent(frame.dump(), secrets);
  }

  void answer(const std::string& id, const std::string& status) {
    const Json frame{{"type", "approval.result"}, {"decisionID", id}, {"encryptedResult", seal({{"status", status}})}};
    judge.agentSent(frame.dump(), secrets);
  }

  TapDecision& decide(const PendingApproval& approval, const std::string& label, bool isNew = true) {
    const std::string id = "decision-" + std::to_string(ledger.decisions().size());
    ledger.add({.id = id,
                .pairingID = secrets.pairingID,
                .approvalID = approval.id,
                .label = label,
                .tappedAt = stage.now(),
                .isNew = isNew},
               id);
    ledger.deliver(*ledger.find(id), stage.now());
    return *ledger.find(id);
  }

  // As a request or a key does.
  void press(const Appearance& shown, const std::string& label) {
    judge.pressed({.at = stage.now(), .appearance = shown.number, .label = label});
  }
  // The mouse went down 0.08 s ago.
  void click(const Appearance& shown, const std::string& label) {
    judge.pressed({.at = stage.now(), .appearance = shown.number, .label = label, .held = Seconds{0.08}});
  }

  // The labels of the first and the last button of the only prompt, which change places now, the second one no
  // "Cancel".
  std::pair<std::string, std::string> swapLabels() {
    life.swapLabels();
    const auto& swap = appearance().swapped.value();
    return swap.first == "Cancel" ? std::pair{swap.first, swap.second} : std::pair{swap.second, swap.first};
  }

  void advance(double seconds) { world.advance(Seconds{seconds}); }

  std::string verdict() { return stage.verdict.reason().value_or("nothing broke"); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  Stage stage{world, {}};
  Identities identities{world};
  Ledger ledger;
  DesktopLife life{stage, 1};
  AgentProcess process{stage, 1};
  OpenedLists lists;
  Judge judge{stage, life, process, identities, ledger, lists};
  InstallationSecrets secrets;
};

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

// ---- Outcomes

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
