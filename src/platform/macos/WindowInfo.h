#pragma once

#include <optional>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "values/Geometry.h"

// The window server's list, for whoever needs it here. Any thread.
namespace quillard::macos {

// Front to back. Absent outside a graphical session, or when the server gives none.
[[nodiscard]] std::optional<std::vector<platform::WindowListEntry>> copyWindowInfo(platform::WindowListOptions options);

// Whether the frontmost window that a hit test at `point` can find is one of this process. Windows of others above all
// dialogs are looked through: what they let through cannot be known.
[[nodiscard]] bool isOwnWindowAt(Point point);

}  // namespace quillard::macos
