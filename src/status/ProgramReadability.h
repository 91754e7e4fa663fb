#pragma once

#include <string>
#include <vector>

#include "platform/desktop/DesktopCapabilities.h"
#include "platform/desktop/ReadableStarts.h"

namespace quillard {

// What is known of programs whose prompts are missed, and what was done about that. Empty where nothing is known.
struct ProgramReadability {
  std::vector<platform::UnreadableProgram> unreadable;
  std::vector<platform::ReadableStart> changed;
  std::string problem;  // Why a change could not be made just now, as a sentence. Empty: it was.
  bool operator==(const ProgramReadability&) const = default;
};

}  // namespace quillard
