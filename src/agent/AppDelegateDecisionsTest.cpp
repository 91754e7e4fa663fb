#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

namespace quillard {
namespace {

using platform::simulated::DialogSpec;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kNotFound = "not_found: The approved button no longer exists on screen.";
constexpr const char* kStillThere = "failed: The dialog was still visible after Quillard tried every safe click path.";
constexpr const char* kTooLate = "failed: The decision came too late. Nothing was pressed. Please decide again.";

struct DecidingAgent : AgentWorld {
  DecidingAgent() { launchAndPair(); }

  // Opens it and waits until the phone shows it.
  NodeHandle show(const DialogSpec& spec) {
    const auto dialog = desktop().open(spec);
    advance(3);
    EXPECT_THAT(phone.shownTitles(), testing::Contains(spec.title));
    return dialog;
  }
  Uuid idOf(const std::string& title) {
    for (const auto& approval : phone.shown()) {
      if (approval.windowTitle == title) return approval.id;
    }
    ADD_FAILURE() << title << " is not shown.";
    return {};
  }
  std::string decide(const std::string& title, const std::string& label) {
    const auto decision = phone.decide(idOf(title), label);
    EXPECT_TRUE(decision);
    return decision.value_or("");
  }
};

DialogSpec stubborn(const std::string& title) {
  auto spec = erasePrompt(title);
  spec.effect = PressEffect::doesNothing();
  return spec;
}

DialogSpec lingering(const std::string& title, double seconds) {
  auto spec = erasePrompt(title);
  spec.effect = PressEffect::closesAfter(Seconds{seconds});
  return spec;
}

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

// ---- One tap, one press, a true answer

constexpr const char* kStoppedAnswering = "failed: The button was pressed, but the program has stopped answering.";
constexpr const char* kNotSeen =
    "failed: The button was pressed, but it could not be read whether the dialog has gone.";

// The prompt, with what happens when one of its buttons is pressed.
DialogSpec promptThat(PressEffect::Act act, platform::AXError answer = platform::AXError::success) {
  auto spec = erasePrompt();
  spec.frame = Rect{100, 100, 400, 180};
  spec.effect = PressEffect::runs(std::move(act), answer);
  return spec;
}

TEST(AppDelegateDecisions, OneTapPressesOneOfTwoIdenticalPrompts) {
  for (const double distance : {30.0, 300.0}) {
    DecidingAgent agent;
    auto spec = erasePrompt();
    spec.frame = Rect{100, 100, 400, 180};
    const auto first = agent.desktop().open(spec);
    spec.frame->y += distance;
    const auto second = agent.desktop().open(*agent.desktop().owner(first), spec);
    agent.advance(3);
    ASSERT_THAT(agent.phone.shown(), SizeIs(2));
    const auto chosen = agent.phone.shown().front().id;
    const auto decision = agent.phone.decide(chosen, "Erase");
    agent.advance(30);
    EXPECT_THAT(agent.phone.answers(*decision), ElementsAre("accepted"));
    EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
    EXPECT_NE(agent.desktop().isOpen(first), agent.desktop().isOpen(second));
    EXPECT_THAT(agent.phone.shown(), SizeIs(1)) << "the other one waits for its own answer";
  }
}

TEST(AppDelegateDecisions, ATwinThatComesUpAtThePressIsNotPressed) {
  DecidingAgent agent;
  NodeHandle twin{};
  auto spec = promptThat([&twin](auto& desktop, NodeHandle pressed) {
    const auto owner = *desktop.owner(pressed);
    desktop.close(*desktop.promptOf(pressed));
    auto same = erasePrompt();
    same.frame = Rect{100, 100, 400, 180};
    twin = desktop.open(owner, same);
  });
  agent.show(spec);
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(0.6);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
  agent.advance(30);
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
  EXPECT_TRUE(agent.desktop().isOpen(twin));
}

TEST(AppDelegateDecisions, MutingDuringThePressDoesNotMakeAPromptThatStaysLookAnswered) {
  DecidingAgent agent;
  agent.show(stubborn("Stubborn"));
  const auto suppressionID = agent.phone.shown().at(0).suppressionID;
  const auto decision = agent.decide("Stubborn", "Erase");
  agent.advance(0.25);
  agent.phone.suppress(suppressionID);
  agent.advance(60);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kStillThere));
}

TEST(AppDelegateDecisions, ADenialWorkedWhenTheWindowClosedAlthoughItsProgramIsSilentSince) {
  DecidingAgent agent;
  auto spec = promptThat(
      [](auto& desktop, NodeHandle pressed) {
        const auto owner = *desktop.owner(pressed);
        desktop.close(*desktop.promptOf(pressed));
        desktop.hang(owner);
      },
      platform::AXError::cannotComplete);
  agent.show(spec);
  const auto decision = agent.decide("Erase disk?", "Cancel");
  agent.advance(60);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted"));
}

TEST(AppDelegateDecisions, AProgramThatStopsAnsweringAtThePressIsReportedAsThat) {
  DecidingAgent agent;
  auto spec = promptThat([](auto& desktop, NodeHandle pressed) { desktop.hang(*desktop.owner(pressed)); },
                         platform::AXError::cannotComplete);
  const auto dialog = agent.show(spec);
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.advance(60);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(kStoppedAnswering));
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
  EXPECT_TRUE(agent.desktop().isOpen(dialog));
}

// The registry is silent for two seconds, as it is when many programs start.
TEST(AppDelegateDecisions, ADesktopThatCouldNotBeSeenForAWhileIsWaitedFor) {
  for (const bool closes : {true, false}) {
    for (const double silentFor : {2.0, 20.0}) {
      DecidingAgent agent;
      auto spec = promptThat([&](auto& desktop, NodeHandle pressed) {
        if (closes) desktop.close(*desktop.promptOf(pressed));
        desktop.setWindowListReadable(false);
        desktop.setDesktopFailure(platform::DesktopReadFailure::applicationList);
        desktop.later(Seconds{silentFor}, [&desktop] { desktop.setDesktopFailure(std::nullopt); });
      });
      const auto dialog = agent.show(spec);
      const auto decision = agent.decide("Erase disk?", "Erase");
      agent.advance(100);
      ASSERT_THAT(agent.phone.answers(decision), SizeIs(1));
      const auto answer = agent.phone.answers(decision).front();
      EXPECT_EQ(answer == "accepted", closes && silentFor < 4) << answer;
      if (silentFor > 4) {
        EXPECT_EQ(answer, kNotSeen);
        EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
      }
      EXPECT_NE(agent.desktop().isOpen(dialog), closes);
    }
  }
}

TEST(AppDelegateDecisions, AnActionThatAnswersWithAnErrorAndActsLaterIsDone) {
  for (const auto answer : {platform::AXError::cannotComplete, platform::AXError::actionUnsupported,
                            platform::AXError::invalidUIElement, platform::AXError::failure}) {
    DecidingAgent agent;
    auto spec = promptThat(
        [](auto& desktop, NodeHandle pressed) {
          desktop.later(Seconds{4}, [&desktop, pressed] { desktop.close(*desktop.promptOf(pressed)); });
        },
        answer);
    agent.show(spec);
    const auto decision = agent.decide("Erase disk?", "Erase");
    agent.advance(60);
    EXPECT_THAT(agent.phone.answers(decision), ElementsAre("accepted")) << static_cast<int>(answer);
    EXPECT_THAT(agent.desktop().presses(), SizeIs(1)) << static_cast<int>(answer);
  }
}

TEST(AppDelegateDecisions, APromptThatAsksForASecretByTheTimeOfThePressRequiresDirectAccess) {
  DecidingAgent agent;
  const auto dialog = agent.show(erasePrompt());
  const auto line = agent.phone.shown().at(0).messageLines.at(0);
  agent.decide("Erase disk?", "");  // Nothing has that label; it only keeps the agent busy.
  const auto decision = agent.decide("Erase disk?", "Erase");
  agent.desktop().addChild(
      dialog, {.role = "AXTextField", .subrole = "AXSecureTextField", .title = line, .frame = Rect{0, 0, 100, 20}});
  agent.advance(3);
  EXPECT_THAT(agent.phone.answers(decision), ElementsAre(StartsWith("requires_direct_access: ")));
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
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

// ---- A phone that says when a person decided

TEST(AppDelegateDecisions, OneBoxThatTheRelayHoldsBackAndRepeatsPressesOneOfManyIdenticalPrompts) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto box = agent.phone.timedRequest("decision-1", agent.idOf("Erase disk?"), "Erase");
  for (int i = 0; i < 6; ++i) {
    agent.phone.deliver("decision-1", box);
    agent.advance(1);
    agent.desktop().open(erasePrompt());  // Each is followed by another one of the same text.
    agent.advance(1);
  }
  EXPECT_THAT(agent.desktop().presses(), SizeIs(1));
  ASSERT_THAT(agent.phone.answers("decision-1"), SizeIs(6));
  EXPECT_THAT(agent.phone.answers("decision-1"), Each("accepted"));
}

TEST(AppDelegateDecisions, OneThatTheRelayHoldsBackForMoreThanAMinuteIsRefused) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto box = agent.phone.timedRequest("decision-1", agent.idOf("Erase disk?"), "Erase");
  agent.advance(61);
  agent.phone.deliver("decision-1", box);
  agent.advance(5);
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  EXPECT_THAT(agent.phone.answers("decision-1"), ElementsAre(kTooLate));
  EXPECT_EQ(agent.phone.results().back().command.reason, "tooLate");
}

TEST(AppDelegateDecisions, OneThatWaitedWhileTheComputerSleptIsRefused) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto box = agent.phone.timedRequest("decision-1", agent.idOf("Erase disk?"), "Erase");
  agent.world.time().suspend(Seconds{3600});
  agent.phone.deliver("decision-1", box);
  agent.advance(5);
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  EXPECT_THAT(agent.phone.answers("decision-1"), ElementsAre(kTooLate));
}

TEST(AppDelegateDecisions, OneOfAnEarlierRunIsRefused) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  auto earlier = *agent.phone.newestClock();
  earlier.epoch = Uuid{};
  agent.phone.deliver("decision-1",
                      agent.phone.timedRequest("decision-1", agent.idOf("Erase disk?"), "Erase", earlier));
  agent.advance(5);
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  EXPECT_THAT(agent.phone.answers("decision-1"), ElementsAre(kTooLate));
}

TEST(AppDelegateDecisions, OneUnderAnotherNameThanInItsBoxIsIgnored) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  const auto box = agent.phone.timedRequest("decision-1", agent.idOf("Erase disk?"), "Erase");
  agent.phone.deliver("decision-2", box);
  agent.advance(5);
  EXPECT_THAT(agent.desktop().presses(), IsEmpty());
  EXPECT_THAT(agent.phone.results(), IsEmpty());
  agent.phone.deliver("decision-1", box);
  agent.advance(5);
  EXPECT_THAT(agent.phone.answers("decision-1"), ElementsAre("accepted"));
}

TEST(AppDelegateDecisions, AnswersTellThePhoneWhatTimeItIs) {
  DecidingAgent agent;
  agent.show(erasePrompt());
  agent.advance(100);
  agent.decide("Erase disk?", "Erase");
  agent.advance(5);
  const auto clock = agent.phone.results().back().command.clock;
  ASSERT_TRUE(clock);
  const auto age = agent.world.time().continuousTime() - clock->time;
  EXPECT_GE(age, std::chrono::milliseconds{0});
  EXPECT_LE(age, std::chrono::seconds{5});
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
