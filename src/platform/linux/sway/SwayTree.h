#pragma once

#include <optional>
#include <string_view>

#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::sway {

// What sway calls a container, as the desktop's identifier of a window. Never one of another source.
[[nodiscard]] desktop::WindowID windowOf(std::int64_t container);
// Absent: it is no window of sway.
[[nodiscard]] std::optional<std::int64_t> containerOf(desktop::WindowID window);

// More windows than these are none that a person looks at.
inline constexpr std::size_t kMostWindows = 4096;

// The windows of sway's tree of containers: tiled ones first, floating ones above them. Hidden ones of the scratchpad
// count as minimised. The current desktop is the workspace with the focus. Absent when the text is no such tree; what
// is odd in a single window reads as not said.
[[nodiscard]] std::optional<desktop::WindowsSnapshot> parseTree(std::string_view json);

// What an event says has changed, such as "new" or "title". Empty when it does not say.
[[nodiscard]] std::string changeOf(std::string_view event);

// Whether a reply says that every command was carried out.
[[nodiscard]] bool isSuccess(std::string_view reply);

}  // namespace quillard::sway
