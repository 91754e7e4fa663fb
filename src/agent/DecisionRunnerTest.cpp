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
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kNotFound = "not_found: The approved button no longer exists on screen.";
constexpr const char* kStillThere = "failed: The dialog was still visible after Quillard tried every safe click path.";

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
  void decideFor(const Uuid& approvalID, const std::string& decisionID, const std::string& label) {
    time.runOnMainThread([&] {
      runner->handleRelayApprovalRequest(
          {.decisionID = decisionID, .command = {.approvalID = approvalID, .buttonLabel = label}});
    });
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
  ApprovalStore store{Seconds{8}, time, random};
  FakePresses presses;
  std::vector<Uuid> answered;
  std::vector<std::string> results;  // "decision: status", and the error if there is one.
  std::unique_ptr<DecisionRunner> runner = std::make_unique<DecisionRunner>(
      DecisionRunnerDependencies{store, std::make_unique<FakePress>(presses), time.mainThread()},
      DecisionRunnerEvents{.onAnswered =
                               [this](const Uuid& approvalID) {
                                 answered.push_back(approvalID);
                                 store.remove(approvalID);
                               },
                           .onResult =
                               [this](const std::string& decisionID, const ApprovalResultCommand& result) {
                                 results.push_back(decisionID + ": " + result.status +
                                                   (result.error ? ": " + *result.error : ""));
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

TEST_F(DecisionRunnerTest, ARepeatedDecisionGetsItsOutcomeWithoutASecondPress) {
  decide("d1", "Erase");
  decide("d1", "Erase");
  endPress();
  decide("d1", "Erase");
  EXPECT_THAT(presses.begun, SizeIs(1));
  EXPECT_THAT(results, ElementsAre("d1: accepted", "d1: accepted", "d1: accepted"));
}

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
