#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

// What the labels of buttons mean. Everything is asked of a label's normalised form; the sets hold normalised labels,
// with both apostrophes where programs write either, since normalising does not fold them. Each is built on first use
// and never changes.
namespace quillard::DialogButtonSemantics {

using LabelSet = std::unordered_set<std::string>;

// Closes the prompt and grants nothing: what may be pressed from afar on any prompt.
[[nodiscard]] const LabelSet& safeDismissalLabels();
// Closes the prompt or puts it off.
[[nodiscard]] const LabelSet& cancelActionLabels();
// Goes along with what the prompt asks.
[[nodiscard]] const LabelSet& confirmActionLabels();
// Stands on prompts rather than on ordinary windows.
[[nodiscard]] const LabelSet& promptButtonLabels();
// What the phone may offer as the first choice.
[[nodiscard]] const LabelSet& recommendedLabels();

// Trimmed, runs of white space collapsed to one blank, lower case.
[[nodiscard]] std::string normalized(std::string_view label);

[[nodiscard]] bool isSafeDismissal(std::string_view label);
[[nodiscard]] bool isCancelAction(std::string_view label);
[[nodiscard]] bool isConfirmAction(std::string_view label);
[[nodiscard]] bool isPromptButton(std::string_view label);

// The first of the prompt's labels, in their order and as shown, that may be recommended. Absent: none.
[[nodiscard]] std::optional<std::string> recommendedButton(const std::vector<std::string>& labels);

}  // namespace quillard::DialogButtonSemantics
