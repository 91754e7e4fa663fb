#pragma once

#include <string>

#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// Whether a push button belongs to the title bar that GTK draws where the compositor draws none, as on GNOME: what
// closes, maximises or minimises the window. It is none of what the window asks, and has no title, as on other systems.
//
// It is told by where GTK 3 and 4 put it: alone with its like in a box of its own below the header bar. Buttons that a
// program puts into its header bar lie in the bar itself and keep their titles, as does everything that lies in another
// way. Reads the objects above the button, which a walk of the window has read already.
[[nodiscard]] bool isTitleBarButton(DesktopReading& reading, Node& button);

// The title of a message dialog of GTK 3 that draws its title bar itself. Empty: it does not, or has none.
[[nodiscard]] std::string messageTitle(DesktopReading& reading, Node& window);

}  // namespace quillard::atspi
