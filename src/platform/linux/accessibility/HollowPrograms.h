#pragma once

#include <cstdint>
#include <vector>

#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// The processes on the bus whose windows are frames around nothing, as those of Chromium are until it is told to fill
// them. One of which a list or an answer is missing
// is not known to be. Reads some objects of every window of the desktop. In the registry's order.
[[nodiscard]] std::vector<std::int32_t> hollowProcessesOf(DesktopReading& reading);

}  // namespace quillard::atspi
