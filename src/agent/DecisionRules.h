#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "approvals/PendingApproval.h"
#include "click/ClickExecutor.h"
#include "relay/RelayCommands.h"

// What is answered to a phone's decision, as functions of what is known. No state; any thread.
namespace quillard::DecisionRules {

// Whether the prompt has to be answered at the computer itself: it may be dismissed from afar, and this label is no
// safe dismissal.
[[nodiscard]] bool isBlocked(const PendingApproval& approval, std::string_view buttonLabel);

// The answer when nothing was pressed. `approval`: what the store holds by now; absent: gone. `reason`: what the press
// found on the screen.
[[nodiscard]] ApprovalResultCommand refusal(const ApprovalRequestCommand& command,
                                            const std::optional<PendingApproval>& approval,
                                            ClickError reason = ClickError::buttonNotFound);

// The answer when a press was tried. `error` absent: the prompt went away.
[[nodiscard]] ApprovalResultCommand outcome(const ApprovalRequestCommand& command,
                                            const std::optional<ClickError>& error);

}  // namespace quillard::DecisionRules
