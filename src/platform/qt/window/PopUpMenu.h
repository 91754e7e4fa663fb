#pragma once

#include <functional>
#include <vector>

#include "platform/qt/window/ActionButton.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// Pops up a menu 4 points under `anchor`, in the window's colours, and returns immediately. `onChoice` comes at most
// once. The menu is a child of the anchor's window, and goes when it closes.
void popUpMenu(ActionButton& anchor, const std::vector<MenuItemContent>& items,
               const std::function<void(std::size_t)>& onChoice);

}  // namespace quillard::qt
