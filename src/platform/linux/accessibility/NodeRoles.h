#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// What an object is to its user, which its own role does not always say: some of what lies around it has to be read.

// Its role in the words of the core.
[[nodiscard]] std::string_view roleOf(DesktopReading& reading, Node& node);
// A window, a sheet, or a dialog inside a window.
[[nodiscard]] bool isWindowLike(DesktopReading& reading, Node& node);
// The text of an object that shows its description instead. Absent: it does not.
[[nodiscard]] std::optional<std::string> descriptionAsText(DesktopReading& reading, Node& node);

}  // namespace quillard::atspi
