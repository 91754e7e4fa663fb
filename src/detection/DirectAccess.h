#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "approvals/PendingApproval.h"

namespace quillard {

// Why a prompt must be approved at the computer itself: it asks for a secret, or for a change of settings. The text is
// for the user. Absent: it may be approved from afar. A pure function of its arguments; any thread.
//
// It goes by words alone. A prompt with a secure text field requires direct access whatever its words are; see
// `PromptReading`.
[[nodiscard]] std::optional<std::string> directAccessRequiredReason(const std::string& title,
                                                                    const std::vector<std::string>& messageLines,
                                                                    const std::vector<std::string>& buttonLabels);

// Whether this button does more than dismiss the prompt, by its label and by what is known of it
// (`DialogButton::isKnownDismissal`).
[[nodiscard]] bool isGrant(const PendingApproval& prompt, std::string_view buttonLabel);

// Whether a press of this button needs the person at the computer: the prompt requires direct access, and the button
// does more than dismiss it.
[[nodiscard]] bool requiresDirectAccessFor(const PendingApproval& prompt, std::string_view buttonLabel);

// The reason of a prompt that asks for a secret by its fields instead of its words.
[[nodiscard]] std::string secretRequiredReason();

// The reason of a prompt of which some text could not be read: it may ask for a secret.
[[nodiscard]] std::string unreadableTextReason();

// The reason of a prompt with a button of which it is not known what it does.
[[nodiscard]] std::string notUnderstoodReason();

// The reason of a prompt that holds a field for text.
[[nodiscard]] std::string toBeFilledInReason();

}  // namespace quillard
