#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/desktop/SyntheticEvents.h"

// What may stand in for a press of the button with this label, because it means the same: a confirm label may only
// confirm, a cancel label may only cancel. Nothing, for labels that are neither.
namespace quillard::ClickExecutor {

// Actions of the window.
[[nodiscard]] std::vector<std::string_view> windowActionCandidates(std::string_view label);
// Attributes of the window that name one of its buttons.
[[nodiscard]] std::vector<std::string_view> buttonAttributeCandidates(std::string_view label);
[[nodiscard]] std::optional<platform::KeyCode> keyCandidate(std::string_view label);
// Whether one key, or one action of a window, could mean either label.
[[nodiscard]] bool meansTheSame(std::string_view label, std::string_view other);

}  // namespace quillard::ClickExecutor
