#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/accessibility/NodeRecord.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "values/Geometry.h"

namespace quillard::atspi {

// One window as a process told the accessibility bus.
struct AccessibleWindow {
  std::string name;
  bool isShowing = true;  // True, too, where the toolkit does not say.
  // On the screen; with GTK 4, and without an X server, only its size means anything.
  std::optional<Rect> extents;
  bool tellsPlace = true;
};

// What the user sees of a window: with the window manager's frame, without a shadow that the program draws itself.
[[nodiscard]] Rect visibleBounds(const desktop::Window& window);

// Which X window each accessible window is, both of one process; none is taken twice. By title first, one that the
// desktop has numbered after an equal one, then by place or size; what is then left over on both sides is matched when
// there is but one of each. A window that its toolkit calls hidden is only ever matched with a minimised one of the
// same title: anything else would show a closed dialog again.
//
// `areAll`: no window of the process is missing from `windows`. Otherwise what is left over need not belong together.
//
// The result has one entry for each of `accessible`: an index into `windows`, or absent.
[[nodiscard]] std::vector<std::optional<std::size_t>> matchWindows(std::span<const AccessibleWindow> accessible,
                                                                   std::span<const desktop::Window> windows,
                                                                   bool areAll);

}  // namespace quillard::atspi
