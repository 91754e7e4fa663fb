#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::desktop {

// Layers of listed windows. The desktop's own windows are never listed.
inline constexpr std::int64_t kBelowLayer = -1;
inline constexpr std::int64_t kOrdinaryLayer = 0;
inline constexpr std::int64_t kAboveLayer = 3;
inline constexpr std::int64_t kDockLayer = 20;
inline constexpr std::int64_t kNotificationLayer = 25;

// As a person sees the window: with the frame that the window manager draws around it, without the shadow that the
// client draws inside its own. Never of negative size.
[[nodiscard]] Rect visibleBounds(const Window& window);

// On the present desktop, or on all of them. True when the window manager does not say.
[[nodiscard]] bool isOnCurrentDesktop(const Window& window, const WindowsSnapshot& snapshot);

// Mapped, on the present desktop, and with some part inside the screen.
[[nodiscard]] bool isOnScreen(const Window& window, const WindowsSnapshot& snapshot);

// Front to back. `ownerName`: what the process is called, if it is known.
[[nodiscard]] std::vector<platform::WindowListEntry> listWindows(
    const WindowsSnapshot& snapshot, platform::WindowListOptions options,
    const std::function<std::optional<std::string>(const Window&)>& ownerName);

}  // namespace quillard::desktop
