#pragma once

#include <optional>
#include <vector>

#include "platform/desktop/DesktopCapabilities.h"

namespace quillard::macos {

// A session with a screen has all of it. Which programs cannot be read, no function of the system tells.
class MacDesktopCapabilities final : public platform::DesktopCapabilities {
 public:
  [[nodiscard]] std::optional<platform::Limitation> limitation(platform::DesktopCapability capability) override {
    switch (capability) {
      case platform::DesktopCapability::windowList:
      case platform::DesktopCapability::frontmostApplication:
      case platform::DesktopCapability::screenCoordinates:
      case platform::DesktopCapability::syntheticInput:
        break;
    }
    return std::nullopt;
  }
  [[nodiscard]] platform::Finding<std::vector<platform::UnreadableProgram>> unreadablePrograms() override {
    return platform::Limitation{"macOS does not tell which programs cannot be read."};
  }
};

}  // namespace quillard::macos
