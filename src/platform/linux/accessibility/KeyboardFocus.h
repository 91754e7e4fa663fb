#pragma once

#include <optional>

#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// Where the keyboard goes, by what the desktop says and what programs say of themselves.

// Whether this window has the keyboard. Absent: it cannot be told.
[[nodiscard]] std::optional<bool> hasKeyboard(DesktopReading& reading, Node& window);
// Of the windows of the desktop, the active one. Null: none, or it is not on the bus. The desktop says, where it knows
// its windows; of others, they say so themselves.
[[nodiscard]] Node* activeWindow(DesktopReading& reading);
// The element of this window that has the keyboard, or would have it. Null: none among those that the agent looks at.
[[nodiscard]] Node* focusedIn(DesktopReading& reading, Node& window);
// The button of this window that Return presses. Null: none is marked, or several are.
[[nodiscard]] Node* defaultButtonOf(DesktopReading& reading, Node& window);

}  // namespace quillard::atspi
