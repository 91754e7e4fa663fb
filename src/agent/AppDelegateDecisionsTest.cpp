#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/DecidingAgent.h"

namespace quillard {
namespace {

using platform::simulated::DialogSpec;
using platform::simulated::PressEffect;
using samples::erasePrompt;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kNotFound = "not_found: The approved button no longer exists on screen.";
constexpr const char* kNotReadable = "failed: The button was not pressed, since the dialog could not be read.";

// ---- One decision

TEST(AppDelegateDecisions, PressesWhatThePhoneChoseAndTellsItSo) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  EXPECT_TRUE(agent.menuBarShowsPending());
  const auto decision = agent.decide("Erase disk?", "Cancel");
  agent.advance(1);
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_FALSE(agent.menuBarShowsPending());
}

TEST(AppDelegateDecisions, BringsTheApplicationToTheFrontAndWaitsForIt) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  const auto owner = *agent.desktop().owner(dialog);
  agent.desktop().hide(owner);
  agent.desktop().launch({.name = "Editor", .bundleIdentifier = "com.example.editor", .active = true});
  agent.decide("Erase disk?", "Erase");
  agent.advance(0.199);
  EXPECT_TRUE(agent.desktop().application(owner)->isActive);
  EXPECT_FALSE(agent.desktop().application(owner)->isHidden);
  EXPECT_EQ(agent.desktop().pressed(dialog), std::nullopt);
  agent.advance(0.002);
  EXPECT_EQ(agent.desktop().pressed(dialog), "Erase");
}

TEST(AppDelegateDecisions, LooksASecondTimeAQuarterOfASecondLater) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  const auto button = *agent.desktop().findButton(dialog, "Erase");
  const auto size = agent.desktop().attribute(button, platform::ax::kSize).value();
  agent.decide("Erase disk?", "Erase");
  agent.desktop().setAttribute(button, platform::ax::kSize, Size{0, 0});
  agent.desktop().later(Seconds{0.3}, [&] { agent.desktop().setAttribute(button, platform::ax::kSize, size); });
  agent.advance(0.449);
  EXPECT_EQ(agent.desktop().pressed(dialog), std::nullopt);
  agent.advance(0.002);
  EXPECT_EQ(agent.desktop().pressed(dialog), "Erase");
}

TEST(AppDelegateDecisions, APromptThatWasOpenedAnewIsAnotherOne) {
  DecidingAgent agent;
  auto spec = erasePrompt();
  spec.frame = Rect{100, 100, 400, 180};
  const auto dialog = agent.show(spec);
  const auto owner = *agent.desktop().owner(dialog);
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.desktop().close(dialog);
  const auto again = agent.desktop().open(owner, spec);
  agent.advance(10);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kNotFound));
  EXPECT_EQ(agent.desktop().pressed(again), std::nullopt);
}

TEST(AppDelegateDecisions, APromptThatVanishedIsNotFoundAfterBothLooks) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.desktop().close(dialog);
  agent.advance(0.449);
  EXPECT_THAT(agent.phone.answers(decision), IsEmpty());
  agent.advance(0.002);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kNotFound));
}

// Its button may well be there: nobody could look.
TEST(AppDelegateDecisions, APromptWhoseProgramIsSilentIsNotSaidToHaveGone) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  agent.desktop().hang(*agent.desktop().owner(dialog));
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(10);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kNotReadable));
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
}

TEST(AppDelegateDecisions, APromptThatNobodyMayReadIsNotSaidToHaveGone) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.desktop().setTrusted(false);
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kNotReadable));
}

TEST(AppDelegateDecisions, AnUnknownApprovalIsNotFoundAtOnce) {
  DecidingAgent agent;
  const auto decision = agent.phone.decide(Uuid{}, "Erase");
  agent.advance(0.01);
  EXPECT_THAT(agent.phone.answers(*decision), ElementsAre(kNotFound));
}

TEST(AppDelegateDecisions, ALabelThatThePromptDoesNotHaveIsNotFound) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto decision = agent.decide("Erase disk?", "erase");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kNotFound));
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
}

TEST(AppDelegateDecisions, APromptForAPasswordMayBeDismissedOnly) {
  DecidingAgent agent;
  const DialogSpec spec{.title = "Keychain", .lines = {"Enter your password."}, .buttons = {"Deny", "Allow"}};
  const auto dialog = agent.show(spec);
  const auto allowed = agent.decide("Keychain", "Allow");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(allowed),
              ElementsAre(StartsWith("requires_direct_access: This dialog asks for a password or keychain access.")));
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  const auto denied = agent.decide("Keychain", "Deny");
  agent.advance(1);
  EXPECT_THAT(agent.phone.answers(denied), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Deny");
}

TEST(AppDelegateDecisions, APromptThatStaysIsReportedAndStaysPending) {
  DecidingAgent agent;
  agent.show(stubborn("Stubborn"));
  const auto decision = agent.decide("Stubborn", "Erase");
  agent.advance(60);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kStillThere));
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Stubborn"));
  EXPECT_TRUE(agent.menuBarShowsPending());
}

TEST(AppDelegateDecisions, AFollowingPromptComesUnderItsOwnIdentity) {
  DecidingAgent agent;
  auto spec = erasePrompt("First");
  spec.effect = PressEffect::opensNext(erasePrompt("Second"));
  agent.show(spec);
  const auto first = agent.idOf("First");
  const auto decision = agent.decide("First", "Erase");
  agent.advance(5);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  ASSERT_THAT(agent.phone.shownTitles(), ElementsAre("Second"));
  EXPECT_NE(agent.idOf("Second"), first);
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
}

TEST(AppDelegateDecisions, WithoutAClientTheOutcomeIsDropped) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(0.1);
  agent.relay.goDown();
  agent.advance(10);
  EXPECT_EQ(agent.desktop().pressed(dialog), "Erase");
  EXPECT_THAT(agent.phone.answers(decision), IsEmpty());
}

// ---- Several decisions

TEST(AppDelegateDecisions, ASecondOneWaitsForTheFirstAndItsAnswer) {
  DecidingAgent agent;
  agent.show(lingering("Slow", 3));
  const auto quick = agent.show(erasePrompt("Quick"));
  const auto first = agent.decide("Slow", "Erase");
  const auto second = agent.decide("Quick", "Cancel");
  while (agent.phone.answers(first).empty()) {
    EXPECT_EQ(agent.desktop().pressed(quick), std::nullopt);
    agent.advance(0.05);
  }
  EXPECT_THAT(agent.phone.answers(second), IsEmpty());
  agent.advance(1);
  EXPECT_EQ(agent.desktop().pressed(quick), "Cancel");
  EXPECT_THAT(agent.phone.answers(second), ElementsAre("accepted"));
}

TEST(AppDelegateDecisions, ASecondOneForTheSamePromptIsAnsweredByWhatIsTrueThen) {
  DecidingAgent agent;
  const auto dialog = agent.show(lingering("Slow", 1));
  const auto first = agent.decide("Slow", "Cancel");
  agent.advance(0.3);
  const auto second = agent.decide("Slow", "Erase");
  agent.advance(10);
  EXPECT_THAT(agent.phone.answers(first), ElementsAre("accepted"));
  EXPECT_THAT(agent.phone.answers(second), ElementsAre(kNotFound));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
}

TEST(AppDelegateDecisions, ARepeatedOneGetsItsAnswerAgainWithoutASecondPress) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto id = agent.idOf("Erase disk?");
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(3);
  agent.phone.send(decision, id, "Erase");
  agent.advance(0.01);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted", "accepted"));
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
}

TEST(AppDelegateDecisions, OneThatIsRepeatedMeanwhileIsAnsweredOnceWhenItEnds) {
  DecidingAgent agent;
  agent.show(stubborn("Stubborn"));
  const auto id = agent.idOf("Stubborn");
  const auto decision = agent.decide("Stubborn", "Erase");
  agent.advance(1);
  const auto pressesAfterASecond = agent.desktop().presses().size();
  agent.phone.send(decision, id, "Erase");
  agent.phone.send(decision, id, "Erase");
  agent.advance(100);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kStillThere));

  DecidingAgent once;
  once.show(stubborn("Stubborn"));
  once.decide("Stubborn", "Erase");
  once.advance(1);
  EXPECT_EQ(once.desktop().presses().size(), pressesAfterASecond);
  once.advance(100);
  EXPECT_EQ(agent.desktop().presses().size(), once.desktop().presses().size()) << "Nothing was tried anew.";
}

TEST(AppDelegateDecisions, APhoneThatWasCutOffLearnsTheOutcomeByAskingAgain) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto id = agent.idOf("Erase disk?");
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(0.1);
  agent.relay.dropConnections();
  agent.advance(5);
  EXPECT_THAT(agent.phone.answers(decision), IsEmpty());
  agent.phone.send(decision, id, "Erase");
  agent.advance(0.1);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
}

// ---- A computer that wants the phone's own lock before a grant

TEST(AppDelegateDecisions, WhereThePhonesLockIsWantedAGrantWithoutItPressesNothing) {
  DecidingAgent agent;
  agent.world.environment().set("QUILLARD_PHONE_LOCK_FOR_GRANTS", "1");
  const auto dialog = agent.show(erasePrompt());
  EXPECT_TRUE(agent.phone.snapshots().back().state.grantsNeedVerification) << "The phone is told.";
  const auto unproved = agent.decide("Erase disk?", "Erase");
  agent.advance(3);
  EXPECT_THAT(agent.phone.answers(unproved),
              ElementsAre(StartsWith("failed: This computer wants the phone's own lock")));
  EXPECT_EQ(agent.phone.results().back().command.reason, "notVerified");
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  agent.phone.verifyUser(true);
  const auto proved = agent.decide("Erase disk?", "Erase");
  agent.advance(3);
  EXPECT_THAT(agent.phone.answers(proved), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Erase");
}

TEST(AppDelegateDecisions, WhereThePhonesLockIsWantedADismissalNeedsNone) {
  DecidingAgent agent;
  agent.world.environment().set("QUILLARD_PHONE_LOCK_FOR_GRANTS", "1");
  const auto dialog = agent.show(erasePrompt());
  const auto decision = agent.decide("Erase disk?", "Cancel");
  agent.advance(3);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
}

TEST(AppDelegateDecisions, APhoneThatIsNotToldOfTheLockIsNotAskedForIt) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  EXPECT_FALSE(agent.phone.snapshots().back().state.grantsNeedVerification);
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(3);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
}

// ---- What goes on meanwhile

TEST(AppDelegateDecisions, APressDoesNotHoldUpTheRest) {
  DecidingAgent agent;
  agent.show(stubborn("Stubborn"));
  agent.show(erasePrompt("Other"));
  const auto decision = agent.decide("Stubborn", "Erase");
  agent.advance(1);
  agent.phone.suppress(agent.phone.shown().at(1).suppressionID);
  agent.advance(0.01);
  EXPECT_THAT(agent.phone.shownTitles(), ElementsAre("Stubborn"));
  agent.onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::twoHours); });
  agent.advance(0.01);
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  EXPECT_THAT(agent.phone.answers(decision), IsEmpty()) << "All of it during the press.";
}

TEST(AppDelegateDecisions, QuittingInAnyPhaseIsCleanAndQuick) {
  for (double moment = 0; moment < 4; moment += 0.05) {
    SCOPED_TRACE(moment);
    DecidingAgent agent;
    agent.show(stubborn("Stubborn"));
    const auto decision = agent.decide("Stubborn", "Erase");
    agent.advance(moment);
    const auto asked = agent.world.time().monotonicNow();
    agent.world.application().terminate();
    while (!agent.world.application().hasTerminated()) agent.advance(0.01);
    agent.destroyAgent();
    EXPECT_LE(Seconds{agent.world.time().monotonicNow() - asked}.count(), 0.7);
    const auto presses = agent.desktop().presses().size();
    agent.advance(30);
    EXPECT_EQ(agent.desktop().presses().size(), presses);
    EXPECT_THAT(agent.phone.answers(decision), IsEmpty());
    EXPECT_EQ(agent.world.time().nextDue(), std::nullopt);
  }
}

TEST(AppDelegateDecisions, UnpairingInAnyPhaseTakesTheSayAway) {
  for (double moment = 0; moment < 4; moment += 0.1) {
    SCOPED_TRACE(moment);
    DecidingAgent agent;
    agent.show(stubborn("Stubborn"));
    const auto quick = agent.show(erasePrompt("Quick"));
    const auto id = agent.idOf("Quick");
    agent.decide("Stubborn", "Erase");
    agent.decide("Quick", "Cancel");
    agent.advance(moment);
    agent.onMainThread([](AppDelegate& delegate) { delegate.unpairPhoneFromStatusWindow(); });
    agent.advance(0.7);  // A look at the button that has begun blocks the main thread for 0.45 s at the longest.
    const auto presses = agent.desktop().presses().size();
    agent.advance(30);
    EXPECT_EQ(agent.desktop().presses().size(), presses);
    EXPECT_EQ(agent.desktop().pressed(quick), std::nullopt) << "What waited is not carried out.";
    EXPECT_THAT(agent.phone.results(), IsEmpty());

    agent.phone.pair();
    EXPECT_THAT(agent.phone.results(), IsEmpty()) << "The new pairing is told nothing of the old one's decisions.";
    const auto decision = agent.phone.decide(id, "Cancel");
    ASSERT_TRUE(decision);
    agent.advance(1);
    EXPECT_THAT(agent.phone.answers(*decision), ElementsAre("accepted"));
  }
}

TEST(AppDelegateDecisions, TrustLostDuringAPressIsNoSuccess) {
  DecidingAgent agent;
  agent.show(stubborn("Stubborn"));
  const auto decision = agent.decide("Stubborn", "Erase");
  agent.advance(0.5);
  agent.desktop().setTrusted(false);
  agent.advance(60);
  ASSERT_THAT(agent.phone.answers(decision), SizeIs(1));
  EXPECT_THAT(agent.phone.answers(decision).front(), StartsWith("failed: "));
}

}  // namespace
}  // namespace quillard
