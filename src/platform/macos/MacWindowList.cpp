#include "platform/macos/MacWindowList.h"

#include <utility>

#include "platform/macos/WindowInfo.h"

namespace quillard::macos {

platform::Finding<std::vector<platform::WindowListEntry>> MacWindowList::readWindowInfo(
    platform::WindowListOptions options) {
  auto windows = macos::copyWindowInfo(options);
  if (!windows) return platform::Limitation{"The window server gave no list of windows."};
  return *std::move(windows);
}

platform::SubscriptionHandle MacWindowList::observeChanges(std::function<void()> onChange) {
  return workspace.observe([onChange = std::move(onChange)](const platform::WorkspaceEvent&) { onChange(); });
}

}  // namespace quillard::macos
