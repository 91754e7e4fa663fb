#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// The number of the action that presses, asked of the element itself. Absent: it has none.
[[nodiscard]] std::optional<std::int32_t> pressAction(DesktopReading& reading, const Node& node);
[[nodiscard]] bool isPressable(DesktopReading& reading, const Node& node);

}  // namespace quillard::atspi
