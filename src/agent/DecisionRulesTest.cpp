#include <optional>

#include <gtest/gtest.h>

#include "agent/DecisionRules.h"
#include "support/SampleApprovals.h"

namespace quillard::DecisionRules {
namespace {

using samples::uuid;

const ApprovalRequestCommand kAllow{.approvalID = uuid(7), .buttonLabel = "Allow"};

PendingApproval prompt(bool requiresDirectAccess, std::optional<std::string> reason = std::nullopt) {
  auto approval = samples::approval(7);
  approval.requiresDirectAccess = requiresDirectAccess;
  approval.directAccessReason = std::move(reason);
  return approval;
}

TEST(DecisionRules, APromptForDirectAccessMayBeDismissedOnly) {
  EXPECT_TRUE(isBlocked(prompt(true), "Allow"));
  EXPECT_FALSE(isBlocked(prompt(true), "  Don’t \n Allow "));
  EXPECT_FALSE(isBlocked(prompt(true), "CANCEL"));
  EXPECT_TRUE(isBlocked(prompt(true), "Later")) << "Putting off is no safe dismissal.";
  EXPECT_FALSE(isBlocked(prompt(false), "Allow"));
}

TEST(DecisionRules, OnlyAGrantNeedsThePhonesLockAndOnlyWhereItIsWanted) {
  ApprovalRequestCommand decision = kAllow;
  EXPECT_TRUE(lacksVerification(decision, prompt(false), true));
  EXPECT_FALSE(lacksVerification(decision, prompt(false), false));
  decision.isUserVerified = true;
  EXPECT_FALSE(lacksVerification(decision, prompt(false), true));
  for (const auto* dismissal : {"Cancel", " don’t  ALLOW", "Not Now"}) {
    decision = {.approvalID = uuid(7), .buttonLabel = dismissal};
    EXPECT_FALSE(lacksVerification(decision, prompt(false), true)) << dismissal;
  }
  for (const auto* grant : {"Later", "Skip", "Erlauben", "Delete"}) {
    decision = {.approvalID = uuid(7), .buttonLabel = grant};
    EXPECT_TRUE(lacksVerification(decision, prompt(false), true)) << grant;
  }
  auto german = prompt(false);
  german.buttons.front().label = "Abbrechen";
  german.buttons.front().isKnownDismissal = true;
  decision = {.approvalID = uuid(7), .buttonLabel = "Abbrechen"};
  EXPECT_FALSE(lacksVerification(decision, german, true)) << "The computer knows it for a dismissal.";
}

TEST(DecisionRules, AGrantWithoutTheLockSaysThatNothingWasPressed) {
  const auto refused = notVerified(kAllow);
  EXPECT_EQ(refused.status, "failed");
  EXPECT_EQ(refused.reason, "notVerified");
  EXPECT_EQ(refused.error,
            "This computer wants the phone's own lock before a grant, and this phone did not say that it asked for it. "
            "Nothing was pressed.");
}

TEST(DecisionRules, AVanishedPromptIsNotFound) {
  const ApprovalResultCommand expected{.approvalID = uuid(7),
                                       .buttonLabel = "Allow",
                                       .status = "not_found",
                                       .error = "The approved button no longer exists on screen."};
  EXPECT_EQ(refusal(kAllow, std::nullopt), expected);
  EXPECT_EQ(refusal(kAllow, prompt(false)), expected) << "Its button could not be found.";
}

TEST(DecisionRules, APromptThatCouldNotBeReadHasNotVanished) {
  const ApprovalResultCommand expected{.approvalID = uuid(7),
                                       .buttonLabel = "Allow",
                                       .status = "failed",
                                       .error = "The button was not pressed, since the dialog could not be read."};
  EXPECT_EQ(refusal(kAllow, prompt(false), ClickError::promptNotReadable), expected);
  EXPECT_EQ(refusal(kAllow, prompt(true), ClickError::promptNotReadable).status, "requires_direct_access");
}

TEST(DecisionRules, ABlockedDecisionSaysWhy) {
  const auto withReason = refusal(kAllow, prompt(true, "Because."));
  EXPECT_EQ(withReason.status, "requires_direct_access");
  EXPECT_EQ(withReason.error, "Because.");
  EXPECT_EQ(refusal(kAllow, prompt(true)).error, "This prompt requires direct Mac access.");
}

TEST(DecisionRules, APromptThatRequiresDirectAccessOnScreenIsNotApprovedWhateverTheRecordSays) {
  for (const auto& approval : {std::optional(prompt(false)), std::optional<PendingApproval>{}}) {
    const auto refused = refusal(kAllow, approval, ClickError::requiresDirectAccess);
    EXPECT_EQ(refused.status, "requires_direct_access");
    EXPECT_EQ(refused.error, "This prompt requires direct Mac access.");
  }
  EXPECT_EQ(refusal(kAllow, prompt(true, "Because."), ClickError::requiresDirectAccess).error, "Because.");
  EXPECT_EQ(outcome(kAllow, ClickError::requiresDirectAccess).status, "requires_direct_access");
}

TEST(DecisionRules, APressThatWorkedHasNoError) {
  EXPECT_EQ(outcome(kAllow, std::nullopt),
            (ApprovalResultCommand{.approvalID = uuid(7), .buttonLabel = "Allow", .status = "accepted"}));
}

TEST(DecisionRules, APressThatFailedSaysHow) {
  const auto failed = outcome(kAllow, ClickError::promptStillPresent);
  EXPECT_EQ(failed.status, "failed");
  EXPECT_EQ(failed.error, "The dialog was still visible after Quillard tried every safe click path.");
  const auto silent = outcome(kAllow, ClickError::programStoppedAnswering);
  EXPECT_EQ(silent.status, "failed");
  EXPECT_EQ(silent.error, "The button was pressed, but the program has stopped answering.");
}

}  // namespace
}  // namespace quillard::DecisionRules
