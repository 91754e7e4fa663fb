#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/desktop/Workspace.h"
#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::desktop {

// An application as far as windows and the accessibility bus tell. Who it is, its process tells.
struct ApplicationInfo {
  std::int32_t processIdentifier = 0;
  platform::ActivationPolicy activationPolicy = platform::ActivationPolicy::accessory;
  bool isActive = false;    // Owns the active window.
  bool isHidden = false;    // Has windows, and all are minimised.
  std::string windowClass;  // Of its oldest window that has one.
  bool operator==(const ApplicationInfo&) const = default;
};

// Every process that owns a window, and every process on the accessibility bus. By process number.
//
// Regular: has an ordinary window that wants a place in the task bar. Accessory: has other windows, such as dialogs, or
// none (its prompts may come yet). Prohibited: all that it has are panels, notifications, or the desktop's background.
[[nodiscard]] std::vector<ApplicationInfo> applicationInfos(const WindowsSnapshot& snapshot,
                                                            const std::vector<std::int32_t>& accessible);

// What happened between two looks.
struct WorkspaceState {
  std::vector<platform::RunningApplication> applications;  // By process number.
  std::optional<std::uint32_t> currentDesktop;
};
// In this order: the space changed, applications came, were unhidden, came to the front, were hidden, went. One that
// went is told as it was last seen, but terminated. An application is one for as long as it has a window or is on the
// accessibility bus.
[[nodiscard]] std::vector<platform::WorkspaceEvent> eventsBetween(const WorkspaceState& before,
                                                                  const WorkspaceState& after);

}  // namespace quillard::desktop
