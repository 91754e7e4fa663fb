#pragma once

#include <string>
#include <string_view>

#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::desktop {

// Whether the title of a window is `title` with a number behind it ("Permission <2>"), by which its desktop tells it
// from others of that title.
[[nodiscard]] bool isNumbered(const Window& window, std::string_view title);

// The title without such a number, as far as the other windows show that it is one.
[[nodiscard]] std::string titleWithoutNumber(const Window& window, const WindowsSnapshot& snapshot);

}  // namespace quillard::desktop
