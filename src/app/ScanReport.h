#pragma once

#include <string>
#include <vector>

#include "detection/DialogDetector.h"

namespace quillard::app {

// What a scan saw of each window, and why it takes it for a prompt or not. Texts of other programs are made harmless.
[[nodiscard]] std::string scanText(const std::vector<WindowDiagnosis>& windows);
// One JSON object: "windows", each with the members of a diagnostic line, and "unanswered", the windows whose
// applications did not answer.
[[nodiscard]] std::string scanJson(const std::vector<WindowDiagnosis>& windows);

}  // namespace quillard::app
