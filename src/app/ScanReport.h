#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "detection/DialogDetector.h"
#include "platform/desktop/DesktopCapabilities.h"

namespace quillard::app {

// Who did not answer, for people.
[[nodiscard]] std::string_view sentenceOf(platform::DesktopReadFailure failure);

// What a scan saw of each window, and why it takes it for a prompt or not. Texts of other programs are made harmless.
[[nodiscard]] std::string scanText(const DesktopDiagnosis& diagnosis);

// One line for each program whose windows cannot be read, with what makes them so. Empty: there is none.
[[nodiscard]] std::string unreadableText(const std::vector<platform::UnreadableProgram>& programs);
// One JSON object: "windows", each with the members of a diagnostic line, "unanswered", the windows whose applications
// did not answer, "unreadable", the programs whose windows cannot be read, "unreadableUnknown", a sentence, where
// others of these may be missing, and "failure", a sentence, when the desktop as a whole could not be read.
[[nodiscard]] std::string scanJson(const DesktopDiagnosis& diagnosis,
                                   const platform::Finding<std::vector<platform::UnreadableProgram>>& unreadable =
                                       std::vector<platform::UnreadableProgram>{});

}  // namespace quillard::app
