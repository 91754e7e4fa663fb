#include "agent/DecisionRules.h"

#include "detection/DirectAccess.h"

namespace quillard::DecisionRules {
namespace {

constexpr std::string_view kTooLate = "The decision came too late. Nothing was pressed. Please decide again.";
constexpr std::string_view kTooMany = "Too many decisions wait already. Nothing was pressed. Please decide again.";
constexpr std::string_view kNotVerified =
    "This computer wants the phone's own lock before a grant, and this phone did not say that it asked for it. Nothing "
    "was pressed.";
constexpr std::string_view kNameTaken = "This decision was about something else before. Please decide again.";

ApprovalResultCommand result(const ApprovalRequestCommand& command, std::string_view status,
                             std::optional<std::string> error) {
  return {.approvalID = command.approvalID,
          .buttonLabel = command.buttonLabel,
          .status = std::string(status),
          .error = std::move(error)};
}

}  // namespace

bool isTooLate(const ApprovalRequestCommand& command, std::chrono::milliseconds receivedAt, const StampClock& clock) {
  if (!command.tappedAt) return clock.now().time - receivedAt > kLongestAge;
  const auto age = clock.age(*command.tappedAt);
  return !age || *age > kLongestAge;
}

ApprovalResultCommand tooLate(const ApprovalRequestCommand& command) {
  auto refused = result(command, kFailedStatus, std::string(kTooLate));
  refused.reason = kTooLateReason;
  return refused;
}

ApprovalResultCommand tooMany(const ApprovalRequestCommand& command) {
  return result(command, kFailedStatus, std::string(kTooMany));
}

ApprovalResultCommand nameTaken(const ApprovalRequestCommand& command) {
  return result(command, kFailedStatus, std::string(kNameTaken));
}

bool lacksVerification(const ApprovalRequestCommand& command, const PendingApproval& approval, bool isWanted) {
  return isWanted && !command.isUserVerified && isGrant(approval, command.buttonLabel);
}

ApprovalResultCommand notVerified(const ApprovalRequestCommand& command) {
  auto refused = result(command, kFailedStatus, std::string(kNotVerified));
  refused.reason = kNotVerifiedReason;
  return refused;
}

bool isBlocked(const PendingApproval& approval, std::string_view buttonLabel) {
  return requiresDirectAccessFor(approval, buttonLabel);
}

ApprovalResultCommand refusal(const ApprovalRequestCommand& command, const std::optional<PendingApproval>& approval,
                              ClickError reason) {
  const bool isBlockedByNow = approval && isBlocked(*approval, command.buttonLabel);
  const bool saysMore = reason == ClickError::requiresDirectAccess || reason == ClickError::promptNotReadable;
  if (!isBlockedByNow && saysMore) return outcome(command, reason);
  if (!isBlockedByNow) {
    return result(command, kNotFoundStatus, std::string(localizedDescription(ClickError::buttonNotFound)));
  }
  return result(
      command, kRequiresDirectAccessStatus,
      approval->directAccessReason.value_or(std::string(localizedDescription(ClickError::requiresDirectAccess))));
}

ApprovalResultCommand outcome(const ApprovalRequestCommand& command, const std::optional<ClickError>& error) {
  if (error == ClickError::requiresDirectAccess) {
    return result(command, kRequiresDirectAccessStatus, std::string(localizedDescription(*error)));
  }
  if (error) return result(command, kFailedStatus, std::string(localizedDescription(*error)));
  return result(command, kAcceptedStatus, std::nullopt);
}

}  // namespace quillard::DecisionRules
