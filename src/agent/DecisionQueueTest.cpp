#include <chrono>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "agent/DecisionQueue.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using Time = DecisionQueue::Time;

constexpr Time kNow{1h};

// Of a phone that names nothing inside the box.
ApprovalRequestEnvelope decision(const std::string& decisionID, const std::string& boxID = "") {
  return {.decisionID = decisionID,
          .command = {.approvalID = samples::uuid(1), .buttonLabel = "Allow"},
          .issuedAt = std::nullopt,
          .boxID = boxID};
}

ApprovalRequestEnvelope named(const std::string& decisionID, const std::string& boxID = "") {
  auto named = decision(decisionID, boxID);
  named.command.decisionID = decisionID;
  return named;
}

ApprovalResultCommand answer(const std::string& status) {
  return {.approvalID = samples::uuid(1), .buttonLabel = "Allow", .status = status, .error = "So it is."};
}

template <class Kind>
bool is(const DecisionQueue::Arrival& arrival) {
  return std::holds_alternative<Kind>(arrival);
}

bool isQueued(const DecisionQueue::Arrival& arrival) { return is<DecisionQueue::Queued>(arrival); }

ApprovalResultCommand answerOf(const DecisionQueue::Arrival& arrival) {
  const auto* answered = std::get_if<DecisionQueue::Answered>(&arrival);
  return answered ? answered->result : ApprovalResultCommand{};
}

std::string begunIn(DecisionQueue& queue) {
  const auto next = queue.begin();
  return next ? next->decision.decisionID : "none";
}

// Takes a decision through the queue.
void answerAt(DecisionQueue& queue, const ApprovalRequestEnvelope& decision, Time now) {
  ASSERT_TRUE(isQueued(queue.add(decision, now)));
  ASSERT_EQ(begunIn(queue), decision.decisionID);
  ASSERT_TRUE(queue.end(answer("accepted")));
}

TEST(DecisionQueue, GivesOneAfterAnotherInTheirOrder) {
  DecisionQueue queue;
  EXPECT_EQ(begunIn(queue), "none");
  EXPECT_TRUE(isQueued(queue.add(decision("one"), kNow)));
  EXPECT_TRUE(isQueued(queue.add(decision("two"), kNow + 1s)));
  const auto one = queue.begin();
  ASSERT_TRUE(one);
  EXPECT_EQ(one->decision, decision("one"));
  EXPECT_EQ(one->receivedAt, kNow);
  EXPECT_EQ(begunIn(queue), "none") << "One is under way.";
  EXPECT_TRUE(queue.end(answer("accepted")));
  EXPECT_EQ(begunIn(queue), "two");
}

TEST(DecisionQueue, OneThatIsKnownIsNotQueuedAgain) {
  DecisionQueue queue;
  EXPECT_EQ(queue.known(named("one")), std::nullopt);
  EXPECT_TRUE(isQueued(queue.add(named("one", "box-1"), kNow)));
  EXPECT_TRUE(is<DecisionQueue::Repeated>(queue.add(named("one", "box-1"), kNow))) << "It waits.";
  (void)queue.begin();
  EXPECT_TRUE(is<DecisionQueue::Repeated>(queue.add(named("one", "box-2"), kNow))) << "It is under way.";
  EXPECT_TRUE(queue.end(answer("failed")));
  EXPECT_EQ(answerOf(queue.add(named("one", "box-3"), kNow)), answer("failed"));
  EXPECT_EQ(begunIn(queue), "none");
}

TEST(DecisionQueue, APhoneThatSealsNoNameIsKnownByItsBoxAndByTheNameOutside) {
  DecisionQueue queue;
  answerAt(queue, decision("one", "box-1"), kNow);
  EXPECT_EQ(answerOf(queue.add(decision("other", "box-1"), kNow)), answer("accepted"));
  EXPECT_EQ(answerOf(queue.add(decision("one", "box-2"), kNow)), answer("accepted"));
  EXPECT_EQ(answerOf(queue.add(decision("another", "box-2"), kNow)), answer("accepted"));
  EXPECT_TRUE(isQueued(queue.add(decision("two", "box-3"), kNow)));
}

TEST(DecisionQueue, TheRelayCannotTakeANameThatAPhoneSeals) {
  DecisionQueue queue;
  answerAt(queue, decision("one", "box-1"), kNow);
  EXPECT_TRUE(isQueued(queue.add(named("one", "box-2"), kNow)));
}

TEST(DecisionQueue, ANameStandsForOnePromptAndButton) {
  DecisionQueue queue;
  answerAt(queue, named("one"), kNow);
  auto otherButton = named("one");
  otherButton.command.buttonLabel = "Deny";
  auto otherPrompt = named("one");
  otherPrompt.command.approvalID = samples::uuid(2);
  EXPECT_TRUE(is<DecisionQueue::NameTaken>(queue.add(otherButton, kNow)));
  EXPECT_TRUE(is<DecisionQueue::NameTaken>(queue.add(otherPrompt, kNow)));
}

TEST(DecisionQueue, OneAboutWhichNothingWasDoneMayComeAgain) {
  DecisionQueue queue;
  EXPECT_TRUE(isQueued(queue.add(named("one"), kNow)));
  (void)queue.begin();
  EXPECT_TRUE(queue.end(answer("failed"), DecisionQueue::Memory::forget));
  EXPECT_EQ(queue.rememberedCount(), 0U);
  EXPECT_TRUE(isQueued(queue.add(named("one"), kNow)));
}

// ---- Its bounds

TEST(DecisionQueue, TakesNoMoreThanMayWait) {
  DecisionQueue queue;
  for (std::size_t i = 0; i < DecisionQueue::kMostWaiting; ++i) {
    EXPECT_TRUE(isQueued(queue.add(named(std::to_string(i)), kNow)));
  }
  EXPECT_TRUE(is<DecisionQueue::Full>(queue.add(named("more"), kNow)));
  EXPECT_TRUE(is<DecisionQueue::Repeated>(queue.add(named("0"), kNow)));
  EXPECT_EQ(queue.known(named("more")), std::nullopt);
  (void)queue.begin();
  EXPECT_TRUE(isQueued(queue.add(named("more"), kNow)));
}

TEST(DecisionQueue, ForgetsTheOldestOnlyOnceItsBoxIsTooOldAndOnlyToMakeRoom) {
  DecisionQueue queue;
  for (std::size_t i = 0; i < DecisionQueue::kMostRemembered; ++i) answerAt(queue, named(std::to_string(i)), kNow);
  EXPECT_TRUE(is<DecisionQueue::Full>(queue.add(named("more"), kNow + 60s))) << "Rather refused than forgotten.";
  EXPECT_EQ(answerOf(queue.add(named("0"), kNow + 24h)), answer("accepted"));
  EXPECT_TRUE(isQueued(queue.add(named("more"), kNow + 60s + 1ms)));
  EXPECT_EQ(queue.known(named("0")), std::nullopt);
  EXPECT_EQ(answerOf(*queue.known(named("1"))), answer("accepted"));
  EXPECT_EQ(queue.rememberedCount(), DecisionQueue::kMostRemembered);
}

TEST(DecisionQueue, DoesNotForgetWhatIsUnderWay) {
  DecisionQueue queue;
  EXPECT_TRUE(isQueued(queue.add(named("first"), kNow)));
  (void)queue.begin();
  EXPECT_TRUE(isQueued(queue.add(named("second"), kNow + 24h)));
  EXPECT_TRUE(is<DecisionQueue::Repeated>(queue.add(named("first"), kNow + 25h)));
}

TEST(DecisionQueue, TheNamesOfOneDecisionAreBounded) {
  DecisionQueue queue;
  answerAt(queue, decision("one", "box"), kNow);
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(answerOf(queue.add(decision("one", "box-" + std::to_string(i)), kNow)), answer("accepted"));
  }
  EXPECT_EQ(queue.rememberedCount(), 1U);
  EXPECT_TRUE(isQueued(queue.add(decision("other", "box-999"), kNow))) << "It is not remembered any more.";
}

// ---- Another pairing

TEST(DecisionQueue, ForgetsWhatWaitsAndWhatWasAnswered) {
  DecisionQueue queue;
  answerAt(queue, named("answered"), kNow);
  EXPECT_TRUE(isQueued(queue.add(named("waiting"), kNow)));
  queue.forget();
  EXPECT_EQ(begunIn(queue), "none");
  EXPECT_EQ(queue.known(named("answered")), std::nullopt);
  EXPECT_EQ(queue.waitingCount() + queue.rememberedCount(), 0U);
}

TEST(DecisionQueue, AForgottenOneStillHasToEnd) {
  DecisionQueue queue;
  EXPECT_TRUE(isQueued(queue.add(named("old"), kNow)));
  (void)queue.begin();
  queue.forget();
  EXPECT_TRUE(isQueued(queue.add(named("new"), kNow)));
  EXPECT_EQ(begunIn(queue), "none");
  EXPECT_FALSE(queue.end(answer("accepted"))) << "No caller waits for its answer any more.";
  EXPECT_EQ(queue.known(named("old")), std::nullopt);
  EXPECT_EQ(begunIn(queue), "new");
}

TEST(DecisionQueue, TheAnswerOfADecisionThatNeverBeganChangesNothing) {
  DecisionQueue queue;
  EXPECT_FALSE(queue.end(answer("accepted")));
  EXPECT_EQ(begunIn(queue), "none");
}

// ---- Whatever comes

RC_GTEST_PROP(DecisionQueue, BeginsNoDecisionTwiceWithinTheAgeInWhichItsBoxIsTaken, ()) {
  DecisionQueue queue;
  std::set<std::string> begun;
  Time now = kNow;
  const auto steps = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 40));
  for (const int step : steps) {
    now += 10ms;
    if (step < 30) {
      (void)queue.add(named("decision-" + std::to_string(step % 10), "box-" + std::to_string(step)), now);
    } else if (step < 36) {
      if (const auto next = queue.begin()) RC_ASSERT(begun.insert(next->decision.decisionID).second);
    } else {
      (void)queue.end(answer("accepted"));
    }
    RC_ASSERT(queue.waitingCount() <= DecisionQueue::kMostWaiting);
    RC_ASSERT(queue.rememberedCount() <= DecisionQueue::kMostRemembered);
  }
}

}  // namespace
}  // namespace quillard
