#pragma once

#include <string>
#include <vector>

#include "detection/DialogDetector.h"
#include "platform/desktop/DesktopCapabilities.h"

namespace quillard::app {

// Of each window whose title or program holds `words` (in any letter case; empty: of each), in plain words: which sign
// decided that it is a prompt or none, what would have to be different, how its buttons are understood, and what can be
// done with it from afar. Also the programs whose windows cannot be read. Texts of other programs are made harmless.
[[nodiscard]] std::string explainText(const DesktopDiagnosis& diagnosis, const std::string& words,
                                      const platform::Finding<std::vector<platform::UnreadableProgram>>& unreadable =
                                          std::vector<platform::UnreadableProgram>{});

}  // namespace quillard::app
