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
  DecisionQueue book;
  EXPECT_EQ(book.begin(), std::nullopt);
  book.add(decision("one"));
  book.add(decision("two"));
  EXPECT_EQ(book.begin(), decision("one"));
  EXPECT_EQ(book.begin(), std::nullopt) << "One is under way.";
  book.end(answer("accepted"));
  EXPECT_EQ(book.begin(), decision("two"));
}

TEST(DecisionQueue, RemembersTheFirstAnswer) {
  DecisionQueue book;
  book.add(decision("one"));
  book.add(decision("one"));
  (void)book.begin();
  EXPECT_EQ(book.outcome("one"), std::nullopt);
  book.end(answer("accepted"));
  EXPECT_EQ(book.outcome("one"), answer("accepted"));
  (void)book.begin();
  book.end(answer("failed"));
  EXPECT_EQ(book.outcome("one"), answer("accepted"));
}

TEST(DecisionQueue, RemembersTheNewestOnly) {
  DecisionQueue book;
  for (std::size_t i = 0; i <= DecisionQueue::kRememberedOutcomes; ++i) {
    book.add(decision(std::to_string(i)));
    (void)book.begin();
    book.end(answer("accepted"));
  }
  EXPECT_EQ(book.outcome("0"), std::nullopt);
  EXPECT_EQ(book.outcome("1"), answer("accepted"));
  EXPECT_EQ(book.outcome(std::to_string(DecisionQueue::kRememberedOutcomes)), answer("accepted"));
}

TEST(DecisionQueue, ForgetsWhatWaitsAndWhatWasAnswered) {
  DecisionQueue book;
  book.add(decision("answered"));
  (void)book.begin();
  book.end(answer("accepted"));
  book.add(decision("waiting"));
  book.forget();
  EXPECT_EQ(book.begin(), std::nullopt);
  EXPECT_EQ(book.outcome("answered"), std::nullopt);
}

TEST(DecisionQueue, AForgottenOneStillHasToEnd) {
  DecisionQueue book;
  book.add(decision("old"));
  (void)book.begin();
  book.forget();
  book.add(decision("new"));
  EXPECT_EQ(book.begin(), std::nullopt);
  book.end(answer("accepted"));
  EXPECT_EQ(book.outcome("old"), std::nullopt);
  EXPECT_EQ(book.begin(), decision("new"));
}

TEST(DecisionQueue, TheAnswerOfADecisionThatNeverBeganChangesNothing) {
  DecisionQueue book;
  book.end(answer("accepted"));
  EXPECT_EQ(book.begin(), std::nullopt);
}

}  // namespace
}  // namespace quillard
