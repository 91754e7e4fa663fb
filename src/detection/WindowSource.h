#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/desktop/Accessibility.h"

namespace quillard {

// A window to read, and the application that owns it. A plain value; the window may be gone at any time.
struct WindowSource {
  platform::AXUIElement window;
  std::string appName;                          // "Unknown app" when the system has no name for it.
  std::optional<std::string> bundleIdentifier;  // Absent: unknown.
  std::int32_t processIdentifier = 0;
};

}  // namespace quillard
