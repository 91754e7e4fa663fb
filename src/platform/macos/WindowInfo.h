#pragma once

#include <optional>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "values/Geometry.h"

// The window server's list, for whoever needs it here. Any thread.
namespace quillard::macos {

// Front to back. Absent outside a graphical session, or when the server gives none.
[[nodiscard]] std::optional<std::vector<platform::WindowListEntry>> copyWindowInfo(platform::WindowListOptions options);

// Those on the screen that cover the point and can be seen at all, front to back. Absent as above.
[[nodiscard]] std::optional<std::vector<platform::WindowListEntry>> windowsAt(Point point);

}  // namespace quillard::macos
