#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/DecisionRunner.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/VirtualTime.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;
using platform::simulated::VirtualTime;
using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kNotFound = "not_found: The approved button no longer exists on screen.";
constexpr const char* kStillThere = "failed: The dialog was still visible after Quillard tried every safe click path.";

constexpr const char* kTooLate = "d1: failed: The decision came too late. Nothing was pressed. Please decide again.";

// Presses that the test ends itself.
struct FakePresses {
  struct Press {
    std::string title;
    std::string label;
    ApprovalPress::Completion completion;
  };
  std::vector<Press> begun;
  std::optional<ClickError> refusal;
  int stops = 0;
  std::function<void()> whenBegun;
};

class FakePress final : public ApprovalPress {
 public:
  explicit FakePress(FakePresses& presses) : presses(presses) {}
  std::optional<ClickError> begin(const PendingApproval& approval, const std::string& buttonLabel,
                                  Completion completion) override {
    if (presses.whenBegun) presses.whenBegun();
    if (presses.refusal) return presses.refusal;
    presses.begun.push_back({approval.windowTitle, buttonLabel, std::move(completion)});
    return std::nullopt;
  }
  void stop() override { ++presses.stops; }

 private:
  FakePresses& presses;
};

struct DecisionRunnerTest : testing::Test {
  DecisionRunnerTest() {
    auto blocked = samples::approval(1);
    blocked.windowTitle = "Keychain";
    auto open = samples::approval(2);
    open.windowTitle = "Erase disk?";
    open.requiresDirectAccess = false;
    store.replace({blocked, open});
  }
  Uuid idOf(const std::string& title) {
    for (const auto& approval : store.all()) {
      if (approval.windowTitle == title) return approval.id;
    }
    return {};
  }
  void deliver(const ApprovalRequestEnvelope& envelope) {
    time.runOnMainThread([&] { runner->handleRelayApprovalRequest(envelope); });
  }
  static ApprovalRequestEnvelope envelope(const Uuid& approvalID, const std::string& decisionID,
                                          const std::string& label) {
    return {.decisionID = decisionID, .command = {.approvalID = approvalID, .buttonLabel = label}};
  }
  // Of a phone that says when a person decided: now.
  ApprovalRequestEnvelope timed(const std::string& decisionID, const std::string& label) {
    auto timed = envelope(idOf("Erase disk?"), decisionID, label);
    timed.command.decisionID = decisionID;
    timed.command.tappedAt = clock.now();
    timed.boxID = "box of " + decisionID;
    return timed;
  }
  // Of a phone that does not.
  void decideFor(const Uuid& approvalID, const std::string& decisionID, const std::string& label) {
    deliver(envelope(approvalID, decisionID, label));
  }
  void decide(const std::string& decisionID, const std::string& label, const std::string& title = "Erase disk?") {
    decideFor(idOf(title), decisionID, label);
  }
  void endPress(std::optional<ClickError> error = std::nullopt) {
    const auto completion = presses.begun.back().completion;
    time.runOnMainThread([&] { completion(error); });
  }

  VirtualTime time{Seed{1}};
  SimulatedRandom random{Seed{1}};
  const StampClock clock{time, random};
  ApprovalStore store{Seconds{8}, time, random};
  FakePresses presses;
  std::vector<Uuid> answered;
  std::vector<std::string> reasons;
  std::vector<std::string> results;  // "decision: status", and the error if there is one.
  std::unique_ptr<DecisionRunner> runner = std::make_unique<DecisionRunner>(
      DecisionRunnerDependencies{store, std::make_unique<FakePress>(presses), time.mainThread(), clock},
      DecisionRunnerEvents{.onAnswered =
                               [this](const Uuid& approvalID) {
                                 answered.push_back(approvalID);
                                 store.remove(approvalID);
                               },
                           .onResult =
                               [this](const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result) {
                                 results.push_back(decision.decisionID + ": " + result.status +
                                                   (result.error ? ": " + *result.error : ""));
                                 reasons.push_back(result.reason.value_or(""));
                               }});
};

TEST_F(DecisionRunnerTest, PressesWhatWasDecidedAndReportsIt) {
  const auto id = idOf("Erase disk?");
  decide("d1", "Erase");
  ASSERT_THAT(presses.begun, SizeIs(1));
  EXPECT_EQ(presses.begun[0].title, "Erase disk?");
  EXPECT_EQ(presses.begun[0].label, "Erase");
  EXPECT_THAT(results, IsEmpty());
  endPress();
  EXPECT_THAT(answered, ElementsAre(id));
  EXPECT_THAT(results, ElementsAre("d1: accepted"));
}

TEST_F(DecisionRunnerTest, APressThatFailedIsNoAnswerOfThePrompt) {
  decide("d1", "Erase");
  endPress(ClickError::promptStillPresent);
  EXPECT_THAT(answered, IsEmpty());
  EXPECT_THAT(results, ElementsAre(std::string("d1: ") + kStillThere));
}

TEST_F(DecisionRunnerTest, RefusesWhatItCannotFind) {
  decideFor(samples::uuid(99), "unknown", "Erase");
  EXPECT_THAT(presses.begun, IsEmpty());
  presses.refusal = ClickError::buttonNotFound;
  decide("vanished", "Erase");
  EXPECT_THAT(results, ElementsAre(std::string("unknown: ") + kNotFound, std::string("vanished: ") + kNotFound));
  EXPECT_THAT(answered, IsEmpty());
}

TEST_F(DecisionRunnerTest, APromptThatNeedsDirectAccessMayBeDismissedOnly) {
  decide("allow", "Erase", "Keychain");
  EXPECT_THAT(presses.begun, IsEmpty());
  EXPECT_THAT(results, ElementsAre("allow: requires_direct_access: Because."));
  decide("deny", "Cancel", "Keychain");
  EXPECT_THAT(presses.begun, SizeIs(1));
}

TEST_F(DecisionRunnerTest, ARefusalIsAboutWhatIsKnownWhenTheSearchEnds) {
  presses.refusal = ClickError::buttonNotFound;
  presses.whenBegun = [this] { store.replace({}); };
  decide("deny", "Cancel", "Keychain");
  EXPECT_THAT(results, ElementsAre(std::string("deny: ") + kNotFound));
}

TEST_F(DecisionRunnerTest, CarriesOutOneAfterAnother) {
  decide("d1", "Cancel", "Keychain");
  decide("d2", "Erase");
  EXPECT_THAT(presses.begun, SizeIs(1));
  endPress();
  ASSERT_THAT(presses.begun, SizeIs(2));
  EXPECT_EQ(presses.begun[1].title, "Erase disk?");
  EXPECT_THAT(results, ElementsAre("d1: accepted"));
  endPress();
  EXPECT_THAT(results, ElementsAre("d1: accepted", "d2: accepted"));
}

TEST_F(DecisionRunnerTest, ASecondDecisionIsCheckedWhenItsTurnComes) {
  decide("d1", "Cancel");
  decide("d2", "Erase");
  endPress();
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, ElementsAre("d1: accepted", std::string("d2: ") + kNotFound));
}

// ---- Once, whatever the relay repeats

TEST_F(DecisionRunnerTest, ARepeatedDecisionGetsItsOutcomeWithoutASecondPress) {
  decide("d1", "Erase");
  endPress();
  decideFor(answered.front(), "d1", "Erase");
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, ElementsAre("d1: accepted", "d1: accepted"));
}

TEST_F(DecisionRunnerTest, ADecisionThatIsRepeatedWhileItIsUnderWayIsAnsweredOnceWhenItEnds) {
  decide("d1", "Erase");
  decide("d1", "Erase");
  decide("d2", "Cancel", "Keychain");
  decide("d2", "Cancel", "Keychain");
  EXPECT_THAT(results, IsEmpty());
  endPress();
  endPress();
  EXPECT_THAT(presses.begun, SizeIs(2));
  EXPECT_THAT(results, ElementsAre("d1: accepted", "d2: accepted"));
}

TEST_F(DecisionRunnerTest, OneTapPressesOneOfManyIdenticalPrompts) {
  // As soon as one is answered, the next one takes its place: another appearance, of the same text.
  const auto tapped = timed("d1", "Erase");
  deliver(tapped);
  for (int i = 0; i < 6; ++i) {
    if (presses.begun.size() > static_cast<std::size_t>(i)) endPress(ClickError::promptStillPresent);
    deliver(tapped);
    auto again = tapped;
    again.boxID = "box-" + std::to_string(i);
    deliver(again);
  }
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, SizeIs(13)) << "The outcome, and the same from memory each time.";
  EXPECT_THAT(results, Each(std::string("d1: ") + kStillThere));
}

TEST_F(DecisionRunnerTest, AnOlderPhonesBoxIsKnownAgainUnderAnotherName) {
  auto older = envelope(idOf("Erase disk?"), "d1", "Erase");
  older.boxID = "box-1";
  deliver(older);
  endPress(ClickError::promptStillPresent);
  older.decisionID = "d2";
  deliver(older);
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, ElementsAre(std::string("d1: ") + kStillThere, std::string("d2: ") + kStillThere));
}

TEST_F(DecisionRunnerTest, AnOlderPhoneSealsAnewAndGetsTheOutcomeThatItHad) {
  auto older = envelope(idOf("Erase disk?"), "d1", "Erase");
  older.boxID = "box-1";
  deliver(older);
  endPress(ClickError::promptStillPresent);
  older.boxID = "box-2";
  deliver(older);
  older.decisionID = "d2";
  deliver(older);
  EXPECT_THAT(presses.begun, SizeIs(1)) << "The second box is known by now, too.";
  EXPECT_THAT(results, SizeIs(3));
}

TEST_F(DecisionRunnerTest, ANameThatStandsForAnotherDecisionIsRefused) {
  deliver(timed("d1", "Erase"));
  deliver(timed("d1", "Cancel"));
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, ElementsAre("d1: failed: This decision was about something else before. Please decide again."));
}

// ---- Soon

TEST_F(DecisionRunnerTest, ADecisionIsTakenUntilAMinuteAfterTheTap) {
  const auto inTime = timed("d1", "Erase");
  time.advance(60s);
  deliver(inTime);
  EXPECT_THAT(presses.begun, SizeIs(1));
}

TEST_F(DecisionRunnerTest, ADecisionThatComesLaterThanAMinuteAfterTheTapIsRefused) {
  const auto late = timed("d1", "Erase");
  time.advance(60s + 1ms);
  deliver(late);
  deliver(late);
  EXPECT_THAT(presses.begun, IsEmpty());
  EXPECT_THAT(results, ElementsAre(kTooLate, kTooLate));
  EXPECT_THAT(reasons, Each("tooLate"));
}

TEST_F(DecisionRunnerTest, TheTimeInWhichTheComputerSleptCounts) {
  const auto late = timed("d1", "Erase");
  time.suspend(61s);
  deliver(late);
  EXPECT_THAT(presses.begun, IsEmpty());
  EXPECT_THAT(results, ElementsAre(kTooLate));
}

TEST_F(DecisionRunnerTest, ADecisionFromTheFutureOrFromAnotherRunIsRefused) {
  auto future = timed("d1", "Erase");
  future.command.tappedAt->time += 1ms;
  deliver(future);
  auto otherRun = timed("d1", "Erase");
  otherRun.command.tappedAt->epoch = samples::uuid(99);
  deliver(otherRun);
  EXPECT_THAT(presses.begun, IsEmpty());
  EXPECT_THAT(results, ElementsAre(kTooLate, kTooLate));
}

TEST_F(DecisionRunnerTest, ADecisionThatSeemedTooLateMayBeAskedAgainByAPhoneThatKnowsBetter) {
  auto seemsLate = timed("d1", "Erase");
  time.advance(65s);
  deliver(seemsLate);
  EXPECT_THAT(results, ElementsAre(kTooLate));
  auto better = timed("d1", "Erase");
  better.boxID = "box-2";
  deliver(better);
  EXPECT_THAT(presses.begun, SizeIs(1));
  endPress(ClickError::promptStillPresent);
  // Whatever else comes of that name from now on gets the outcome of the one press.
  deliver(better);
  deliver(seemsLate);
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, ElementsAre(kTooLate, std::string("d1: ") + kStillThere, std::string("d1: ") + kStillThere,
                                   std::string("d1: ") + kStillThere));
}

TEST_F(DecisionRunnerTest, WhatWaitedUntilItWasTooLateIsRefusedWhenItsTurnComes) {
  decide("d1", "Cancel", "Keychain");
  deliver(timed("timed", "Erase"));
  decide("untimed", "Erase");
  time.advance(60s + 1ms);
  endPress(ClickError::promptStillPresent);
  EXPECT_THAT(presses.begun, SizeIs(1));
  ASSERT_THAT(results, SizeIs(3));
  EXPECT_THAT(results[1], HasSubstr("came too late"));
  EXPECT_THAT(results[2], HasSubstr("came too late"));
  decide("untimed", "Erase");
  EXPECT_THAT(presses.begun, SizeIs(1)) << "It does not say when it was made, so it stays refused.";
  EXPECT_THAT(results, SizeIs(4));
}

TEST_F(DecisionRunnerTest, AFloodOfDecisionsIsAnsweredWithoutBeingKept) {
  decide("d1", "Cancel", "Keychain");
  for (std::size_t i = 0; i < DecisionQueue::kMostWaiting + 10; ++i)
    deliver(timed("flood-" + std::to_string(i), "Erase"));
  EXPECT_THAT(results, SizeIs(10));
  EXPECT_THAT(results, Each(HasSubstr("Too many decisions wait already.")));
  EXPECT_THAT(presses.begun, SizeIs(1));
}

// ---- Forgetting and stopping

TEST_F(DecisionRunnerTest, ForgettingStopsThePressAndDropsWhatWaits) {
  decide("d1", "Erase");
  decide("d2", "Cancel", "Keychain");
  time.runOnMainThread([this] { runner->forget(); });
  EXPECT_EQ(presses.stops, 1);
  endPress(ClickError::promptStillPresent);
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, IsEmpty());
  decide("d1", "Erase");
  EXPECT_THAT(presses.begun, SizeIs(2)) << "Its outcome is forgotten too.";
  endPress();
  EXPECT_THAT(results, ElementsAre("d1: accepted"));
}

TEST_F(DecisionRunnerTest, APromptThatWentAwayCountsAsAnsweredAlsoWhenTheDecisionWasForgotten) {
  const auto id = idOf("Erase disk?");
  decide("d1", "Erase");
  time.runOnMainThread([this] { runner->forget(); });
  endPress();
  EXPECT_THAT(answered, ElementsAre(id));
  EXPECT_THAT(results, IsEmpty());
}

TEST_F(DecisionRunnerTest, NothingIsPressedOrReportedOnceItIsStopped) {
  decide("d1", "Erase");
  decide("d2", "Cancel", "Keychain");
  time.runOnMainThread([this] { runner->stop(); });
  EXPECT_EQ(presses.stops, 1);
  endPress();
  decide("d3", "Cancel", "Keychain");
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(answered, IsEmpty());
  EXPECT_THAT(results, IsEmpty());
}

TEST_F(DecisionRunnerTest, APressThatOutlivesItIsDropped) {
  decide("d1", "Erase");
  decide("d2", "Cancel", "Keychain");
  const auto completion = presses.begun.back().completion;
  runner.reset();
  time.runOnMainThread([&] { completion(std::nullopt); });
  EXPECT_THAT(answered, IsEmpty());
  EXPECT_THAT(results, IsEmpty());
  EXPECT_EQ(time.nextDue(), std::nullopt);
}

}  // namespace
}  // namespace quillard
