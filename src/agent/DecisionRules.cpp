#include "agent/DecisionRules.h"

#include "click/semantics/DialogButtonSemantics.h"

namespace quillard::DecisionRules {
namespace {

constexpr std::string_view kRequiresDirectAccess = "This prompt requires direct Mac access.";

ApprovalResultCommand result(const ApprovalRequestCommand& command, std::string_view status,
                             std::optional<std::string> error) {
  return {.approvalID = command.approvalID,
          .buttonLabel = command.buttonLabel,
          .status = std::string(status),
          .error = std::move(error)};
}

}  // namespace

bool isBlocked(const PendingApproval& approval, std::string_view buttonLabel) {
  return approval.requiresDirectAccess && !DialogButtonSemantics::isSafeDismissal(buttonLabel);
}

ApprovalResultCommand refusal(const ApprovalRequestCommand& command, const std::optional<PendingApproval>& approval) {
  if (!approval || !isBlocked(*approval, command.buttonLabel)) {
    return result(command, kNotFoundStatus, std::string(localizedDescription(ClickError::buttonNotFound)));
  }
  return result(command, kRequiresDirectAccessStatus,
                approval->directAccessReason.value_or(std::string(kRequiresDirectAccess)));
}

ApprovalResultCommand outcome(const ApprovalRequestCommand& command, const std::optional<ClickError>& error) {
  if (error) return result(command, kFailedStatus, std::string(localizedDescription(*error)));
  return result(command, kAcceptedStatus, std::nullopt);
}

}  // namespace quillard::DecisionRules
