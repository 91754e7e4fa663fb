#pragma once

#include <optional>

#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// Where elements are on the screen.

// Absent: it is not known.
[[nodiscard]] std::optional<Rect> frameOf(DesktopReading& reading, Node& node);
// The deepest element at `point` of the window, the window itself included.
[[nodiscard]] Node& deepestAt(DesktopReading& reading, Node& window, Point point);

}  // namespace quillard::atspi
