#pragma once

#include <functional>
#include <set>
#include <vector>

#include "platform/desktop/WindowList.h"
#include "platform/linux/processes/RunningPrograms.h"
#include "platform/linux/windows/AccessibleProcesses.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/linux/windows/Listeners.h"
#include "platform/process/Executors.h"

namespace quillard::desktop {

// The windows that the desktop tells of (see DesktopWindows). Those that no window manager manages (menus, tooltips,
// the notifications of some services) are not listed, and neither is the desktop's background. Where the desktop tells
// nothing, the list cannot be read; where it knows some windows only, the others are announced, if at all.
//
// Bounds are what a person sees, in pixels: with the window manager's frame, without a shadow. Layers: below 0 for
// windows that are kept below the others, above 0 for those that are kept above, panels and notifications.
//
// Changes of the list, of the active window, of the desktop, and of a window's state are reported immediately; moves
// and other names are not told, and wait for whoever asks at intervals (`mayHaveChanged`). A new window whose process
// is not on the accessibility bus yet is told twice, the second time after 35 ms, since it can be read only then.
class LinuxWindowList final : public platform::WindowList {
 public:
  // All of them outlive this. Made and destroyed on the main thread.
  LinuxWindowList(DesktopWindows& windows, proc::RunningPrograms& programs, WindowChanges& changes,
                  AccessibleProcesses& accessible, platform::SerialExecutor& mainThread);

  [[nodiscard]] platform::Finding<std::vector<platform::WindowListEntry>> readWindowInfo(
      platform::WindowListOptions options) override;
  [[nodiscard]] bool mayHaveChanged() override { return changes.mayHaveChanged(); }
  [[nodiscard]] platform::SubscriptionHandle observeChanges(std::function<void()> onChange) override;
  [[nodiscard]] platform::SubscriptionHandle observeUnlistedWindows(std::function<void()> onChange) override {
    return announced.add(std::move(onChange));
  }
  // Tells those observers. Main thread.
  void announceUnlistedWindow() { announced.tell(); }

 private:
  void windowsChanged(const WindowsSnapshot& snapshot);

  DesktopWindows& windows;
  proc::RunningPrograms& programs;
  WindowChanges& changes;
  AccessibleProcesses& accessible;
  platform::SerialExecutor& mainThread;
  std::set<WindowID> known;
  platform::TaskHandle secondHint;
  Listeners<> listeners;
  Listeners<> announced;
  platform::SubscriptionHandle subscription;
};

}  // namespace quillard::desktop
