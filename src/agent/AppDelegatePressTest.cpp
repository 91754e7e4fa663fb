#include <chrono>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/DecidingAgent.h"

// What a tap presses, what is said of it, and when it comes too late.
namespace quillard {
namespace {

using platform::simulated::DialogSpec;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using samples::erasePrompt;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kTooLate = "failed: The decision came too late. Nothing was pressed. Please decide again.";

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

}  // namespace
}  // namespace quillard
