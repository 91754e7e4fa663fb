#include "platform/simulated/WindowStack.h"

#include <algorithm>

namespace quillard::platform::simulated {

void WindowStack::remove(NodeHandle handle) {
  std::erase_if(frontToBack, [&](const StackedWindow& window) { return window.handle == handle; });
}

void WindowStack::raise(NodeHandle handle) {
  std::stable_partition(frontToBack.begin(), frontToBack.end(),
                        [&](const StackedWindow& window) { return window.handle == handle; });
}

StackedWindow* WindowStack::find(NodeHandle handle) {
  const auto found = std::find_if(frontToBack.begin(), frontToBack.end(),
                                  [&](const StackedWindow& window) { return window.handle == handle; });
  return found == frontToBack.end() ? nullptr : &*found;
}

}  // namespace quillard::platform::simulated
