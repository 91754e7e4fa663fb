#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "platform/simulated/DesktopHandles.h"

namespace quillard::platform::simulated {

struct StackedWindow {
  NodeHandle handle{};
  bool isOffScreen = false;
  bool isListed = true;
  std::function<void(WindowListEntry&)> change{};  // Empty: listed as it is.
  std::optional<WindowListEntry> freeStanding{};   // What is listed for a window that has no element.
};

// All windows of the desktop, front to back.
class WindowStack {
 public:
  // In front of all others.
  void add(StackedWindow window) { frontToBack.insert(frontToBack.begin(), std::move(window)); }
  void remove(NodeHandle handle);
  void raise(NodeHandle handle);
  // Null when it is not in the stack.
  [[nodiscard]] StackedWindow* find(NodeHandle handle);
  [[nodiscard]] const std::vector<StackedWindow>& windows() const { return frontToBack; }

 private:
  std::vector<StackedWindow> frontToBack;
};

}  // namespace quillard::platform::simulated
