#include "agent/DecisionRules.h"

#include "detection/DirectAccess.h"

namespace quillard::DecisionRules {
namespace {

ApprovalResultCommand result(const ApprovalRequestCommand& command, std::string_view status,
                             std::optional<std::string> error) {
  return {.approvalID = command.approvalID,
          .buttonLabel = command.buttonLabel,
          .status = std::string(status),
          .error = std::move(error)};
}

}  // namespace

bool isBlocked(const PendingApproval& approval, std::string_view buttonLabel) {
  return requiresDirectAccessFor(approval, buttonLabel);
}

ApprovalResultCommand refusal(const ApprovalRequestCommand& command, const std::optional<PendingApproval>& approval,
                              ClickError reason) {
  const bool isBlockedByNow = approval && isBlocked(*approval, command.buttonLabel);
  if (!isBlockedByNow && reason == ClickError::requiresDirectAccess) return outcome(command, reason);
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
