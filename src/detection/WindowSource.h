#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/desktop/Accessibility.h"

namespace quillard {

// A window to look at, and whose it is.
struct WindowSource {
  platform::AXUIElement window;
  std::string appName;                          // "Unknown app" when the system knows no name.
  std::optional<std::string> bundleIdentifier;  // Absent: unknown.
  std::int32_t processIdentifier = 0;
};

}  // namespace quillard
