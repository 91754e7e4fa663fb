#pragma once

#include <string>
#include <vector>

#include "detection/DialogDetector.h"
#include "platform/desktop/DesktopCapabilities.h"

namespace quillard::app {

// What a scan saw of each window, and why it takes it for a prompt or not. Texts of other programs are made harmless.
[[nodiscard]] std::string scanText(const DesktopDiagnosis& diagnosis);

// One line for each program whose windows cannot be read, with what makes them so. Empty: there is none.
[[nodiscard]] std::string unreadableText(const std::vector<platform::UnreadableProgram>& programs);
// One JSON object: "windows", each with the members of a diagnostic line, "unanswered", the windows whose applications
// did not answer, and "failure", a sentence, when the desktop as a whole could not be read.
[[nodiscard]] std::string scanJson(const DesktopDiagnosis& diagnosis);

}  // namespace quillard::app
