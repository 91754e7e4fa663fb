#pragma once

#include <functional>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"

namespace quillard::macos {

// The window server's list. It needs no permission, but without the one for recording the screen the server keeps most
// windows' names to itself.
//
// The server notifies of no changes. What is known comes through `workspace`, that applications come, go and take
// turns, is the hint.
class MacWindowList final : public platform::WindowList {
 public:
  // `workspace` outlives this.
  explicit MacWindowList(platform::Workspace& workspace) : workspace(workspace) {}

  [[nodiscard]] platform::Finding<std::vector<platform::WindowListEntry>> readWindowInfo(
      platform::WindowListOptions options) override;
  [[nodiscard]] platform::SubscriptionHandle observeChanges(std::function<void()> onChange) override;
  // The server lists every window.
  [[nodiscard]] platform::SubscriptionHandle observeUnlistedWindows(std::function<void()>) override { return nullptr; }

 private:
  platform::Workspace& workspace;
};

}  // namespace quillard::macos
