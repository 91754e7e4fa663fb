#pragma once

#include "platform/simulated/DesktopSpecs.h"
#include "values/Geometry.h"

namespace quillard::platform::simulated {

// The window that the dialog describes: its texts from top to bottom, its buttons in a row along the bottom edge, all
// inside its frame unless the frame that `dialog` gives is too small for them. `origin`: where it opens when `dialog`
// does not say.
[[nodiscard]] ElementSpec dialogWindow(const DialogSpec& dialog, Point origin);

}  // namespace quillard::platform::simulated
