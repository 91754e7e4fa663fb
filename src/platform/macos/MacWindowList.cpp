#include "platform/macos/MacWindowList.h"

#include <utility>

#include "platform/macos/WindowInfo.h"

namespace quillard::macos {

std::vector<platform::WindowListEntry> MacWindowList::copyWindowInfo(platform::WindowListOptions options) {
  return macos::copyWindowInfo(options);
}

platform::SubscriptionHandle MacWindowList::observeChanges(std::function<void()> onChange) {
  return workspace.observe([onChange = std::move(onChange)](const platform::WorkspaceEvent&) { onChange(); });
}

}  // namespace quillard::macos
