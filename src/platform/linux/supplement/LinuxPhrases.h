#pragma once

#include "platform/desktop/PromptSupplement.h"

// Names of programs and phrases of texts on Linux, by what follows from them.
namespace quillard::linuxphrases {

[[nodiscard]] platform::SupplementList promptServices();
[[nodiscard]] platform::SupplementList phrases();
[[nodiscard]] platform::SupplementList questions();
[[nodiscard]] platform::SupplementList secretPhrases();
[[nodiscard]] platform::SupplementList hazards();
[[nodiscard]] platform::SupplementList settingsTitles();

}  // namespace quillard::linuxphrases
