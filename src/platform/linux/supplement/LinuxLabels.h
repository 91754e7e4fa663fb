#pragma once

#include "platform/desktop/PromptSupplement.h"

// The labels of buttons in the programs of Linux, by what they do.
namespace quillard::linuxlabels {

[[nodiscard]] platform::SupplementList safeDismissals();
[[nodiscard]] platform::SupplementList dismissals();
[[nodiscard]] platform::SupplementList actions();
[[nodiscard]] platform::SupplementList acknowledgements();
[[nodiscard]] platform::SupplementList asides();
[[nodiscard]] platform::SupplementList formLabels();

}  // namespace quillard::linuxlabels
