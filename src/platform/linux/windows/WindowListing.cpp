#include "platform/linux/windows/WindowListing.h"

#include <algorithm>

#include "platform/linux/windows/WindowTitles.h"

namespace quillard::desktop {
namespace {

using platform::WindowListEntry;
using platform::WindowListOptions;

std::int64_t layerOf(const Window& window) {
  switch (window.type) {
    case WindowType::dock:
      return window.isBelow ? kBelowLayer : kDockLayer;
    case WindowType::notification:
      return kNotificationLayer;
    default:
      break;
  }
  if (window.isBelow) return kBelowLayer;
  return window.isAbove ? kAboveLayer : kOrdinaryLayer;
}

}  // namespace

Rect visibleBounds(const Window& window) {
  const Rect& client = window.clientBounds;
  const Extents around = window.gtkFrame ? Extents{.left = -window.gtkFrame->left,
                                                   .right = -window.gtkFrame->right,
                                                   .top = -window.gtkFrame->top,
                                                   .bottom = -window.gtkFrame->bottom}
                                         : window.frame;
  return {.x = client.x - around.left,
          .y = client.y - around.top,
          .width = std::max(0.0, client.width + around.left + around.right),
          .height = std::max(0.0, client.height + around.top + around.bottom)};
}

bool isOnCurrentDesktop(const Window& window, const WindowsSnapshot& snapshot) {
  return !window.desktop || !snapshot.currentDesktop || window.desktop == snapshot.currentDesktop;
}

bool isOnScreen(const Window& window, const WindowsSnapshot& snapshot) {
  if (!window.isMapped || !isOnCurrentDesktop(window, snapshot)) return false;
  if (!snapshot.screen) return true;
  const Rect bounds = visibleBounds(window);
  return bounds.x < snapshot.screen->width && bounds.y < snapshot.screen->height && bounds.x + bounds.width > 0 &&
         bounds.y + bounds.height > 0;
}

std::vector<WindowListEntry> listWindows(const WindowsSnapshot& snapshot, WindowListOptions options,
                                         const std::function<std::optional<std::string>(const Window&)>& ownerName) {
  std::vector<WindowListEntry> entries;
  for (auto window = snapshot.windows.rbegin(); window != snapshot.windows.rend(); ++window) {
    if (window->type == WindowType::desktop) continue;
    if (options == WindowListOptions::onScreenOnly && !isOnScreen(*window, snapshot)) continue;
    WindowListEntry entry{.ownerProcessIdentifier = window->processIdentifier,
                          .ownerName = ownerName(*window),
                          .layer = layerOf(*window),
                          .alpha = window->opacity,
                          .bounds = visibleBounds(*window),
                          .number = window->id};
    // As its program says it: of windows of one title none may seem to be the only one.
    if (!window->name.empty()) entry.windowName = titleWithoutNumber(*window, snapshot);
    entries.push_back(std::move(entry));
  }
  return entries;
}

}  // namespace quillard::desktop
