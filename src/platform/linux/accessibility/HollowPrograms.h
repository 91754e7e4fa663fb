#pragma once

#include "platform/linux/accessibility/AccessibilitySwitch.h"
#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// The processes on the bus whose windows are frames around nothing, as those of Chromium are until it is told to fill
// them, and those that did not answer in time, so that it is not known. One of which a list is missing is neither.
// Reads some objects of every window of the desktop, but for programs that show a window which was found to hold
// something before. In the registry's order.
[[nodiscard]] HollowPrograms hollowProgramsOf(DesktopReading& reading);

}  // namespace quillard::atspi
