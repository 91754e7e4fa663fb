#pragma once

#include <string>

#include "detection/DialogDetector.h"

namespace quillard::app {

// What a scan saw of each window, and why it takes it for a prompt or not. Texts of other programs are made harmless.
[[nodiscard]] std::string scanText(const DesktopDiagnosis& diagnosis);
// One JSON object: "windows", each with the members of a diagnostic line, "unanswered", the windows whose applications
// did not answer, and "failure", a sentence, when the desktop as a whole could not be read.
[[nodiscard]] std::string scanJson(const DesktopDiagnosis& diagnosis);

}  // namespace quillard::app
