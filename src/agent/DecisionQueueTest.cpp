#include <string>

#include <gtest/gtest.h>

#include "agent/DecisionQueue.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

ApprovalRequestEnvelope decision(const std::string& decisionID) {
  return {.decisionID = decisionID, .command = {.approvalID = samples::uuid(1), .buttonLabel = "Allow"}};
}

ApprovalResultCommand answer(const std::string& status) {
  return {.approvalID = samples::uuid(1), .buttonLabel = "Allow", .status = status};
}

TEST(DecisionQueue, GivesOneAfterAnotherInTheirOrder) {
  DecisionQueue queue;
  EXPECT_EQ(queue.begin(), std::nullopt);
  queue.add(decision("one"));
  queue.add(decision("two"));
  EXPECT_EQ(queue.begin(), decision("one"));
  EXPECT_EQ(queue.begin(), std::nullopt) << "One is under way.";
  EXPECT_TRUE(queue.end(answer("accepted")));
  EXPECT_EQ(queue.begin(), decision("two"));
}

TEST(DecisionQueue, RemembersTheFirstAnswer) {
  DecisionQueue queue;
  queue.add(decision("one"));
  queue.add(decision("one"));
  (void)queue.begin();
  EXPECT_EQ(queue.outcome("one"), std::nullopt);
  EXPECT_TRUE(queue.end(answer("accepted")));
  EXPECT_EQ(queue.outcome("one"), answer("accepted"));
  (void)queue.begin();
  EXPECT_TRUE(queue.end(answer("failed")));
  EXPECT_EQ(queue.outcome("one"), answer("accepted"));
}

TEST(DecisionQueue, RemembersTheNewestOnly) {
  DecisionQueue queue;
  for (std::size_t i = 0; i <= DecisionQueue::kRememberedOutcomes; ++i) {
    queue.add(decision(std::to_string(i)));
    (void)queue.begin();
    EXPECT_TRUE(queue.end(answer("accepted")));
  }
  EXPECT_EQ(queue.outcome("0"), std::nullopt);
  EXPECT_EQ(queue.outcome("1"), answer("accepted"));
  EXPECT_EQ(queue.outcome(std::to_string(DecisionQueue::kRememberedOutcomes)), answer("accepted"));
}

TEST(DecisionQueue, ForgetsWhatWaitsAndWhatWasAnswered) {
  DecisionQueue queue;
  queue.add(decision("answered"));
  (void)queue.begin();
  EXPECT_TRUE(queue.end(answer("accepted")));
  queue.add(decision("waiting"));
  queue.forget();
  EXPECT_EQ(queue.begin(), std::nullopt);
  EXPECT_EQ(queue.outcome("answered"), std::nullopt);
}

TEST(DecisionQueue, AForgottenOneStillHasToEnd) {
  DecisionQueue queue;
  queue.add(decision("old"));
  (void)queue.begin();
  queue.forget();
  queue.add(decision("new"));
  EXPECT_EQ(queue.begin(), std::nullopt);
  EXPECT_FALSE(queue.end(answer("accepted"))) << "No caller waits for its answer any more.";
  EXPECT_EQ(queue.outcome("old"), std::nullopt);
  EXPECT_EQ(queue.begin(), decision("new"));
}

TEST(DecisionQueue, TheAnswerOfADecisionThatNeverBeganChangesNothing) {
  DecisionQueue queue;
  EXPECT_FALSE(queue.end(answer("accepted")));
  EXPECT_EQ(queue.begin(), std::nullopt);
}

}  // namespace
}  // namespace quillard
