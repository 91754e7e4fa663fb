#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "agent/DecisionQueue.h"
#include "approvals/PendingApproval.h"
#include "click/ClickExecutor.h"
#include "relay/ClockStamp.h"
#include "relay/RelayCommands.h"

// What is answered to a phone's decision, as functions of what is known. No state; any thread.
namespace quillard::DecisionRules {

// A decision is carried out no later than this after it was made, or after it came when it does not say when it was
// made: a person does not expect a press any more by then.
inline constexpr std::chrono::seconds kLongestAge = DecisionQueue::kLongestAge;

// Whether it is too late to act on a decision that came at `receivedAt`. One that says when it was made is also too
// late when it was made in another run of the agent or in the future: no honest phone says so.
[[nodiscard]] bool isTooLate(const ApprovalRequestCommand& command, std::chrono::milliseconds receivedAt,
                             const StampClock& clock);

// The answers when nothing was tried: it is too late; too many decisions wait; its name stands for another decision.
[[nodiscard]] ApprovalResultCommand tooLate(const ApprovalRequestCommand& command);
[[nodiscard]] ApprovalResultCommand tooMany(const ApprovalRequestCommand& command);
[[nodiscard]] ApprovalResultCommand nameTaken(const ApprovalRequestCommand& command);

// Whether the decision lacks what this computer wants for a grant (`isWanted`): that the phone has asked for its own
// lock. And the answer then; nothing was tried.
[[nodiscard]] bool lacksVerification(const ApprovalRequestCommand& command, const PendingApproval& approval,
                                     bool isWanted);
[[nodiscard]] ApprovalResultCommand notVerified(const ApprovalRequestCommand& command);

// Whether the prompt has to be answered at the computer itself: it may be dismissed from afar, and this label is no
// safe dismissal.
[[nodiscard]] bool isBlocked(const PendingApproval& approval, std::string_view buttonLabel);

// The answer when nothing was pressed. `approval`: what the store holds by now; absent: gone. `reason`: what the press
// found on the screen. A prompt that could not be read has failed; it is not said to have gone.
[[nodiscard]] ApprovalResultCommand refusal(const ApprovalRequestCommand& command,
                                            const std::optional<PendingApproval>& approval,
                                            ClickError reason = ClickError::buttonNotFound);

// The answer when a press was tried. `error` absent: the prompt went away.
[[nodiscard]] ApprovalResultCommand outcome(const ApprovalRequestCommand& command,
                                            const std::optional<ClickError>& error);

}  // namespace quillard::DecisionRules
