#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "foundation/Mutex.h"
#include "platform/linux/x11/ServerConnection.h"
#include "platform/linux/x11/XWindows.h"

namespace quillard::x11 {

// Windows of an X server, over one connection that all threads share: calls take turns. When the server goes, answers
// are empty until one can be reached again under the same name.
//
// The windows are those of the window manager's client list. Without a window manager they are the root's own children,
// without the override-redirect ones (menus, tooltips), and none of them is active.
class XcbWindows final : public desktop::DesktopWindows {
 public:
  // `displayName`: the variable DISPLAY; absent when not set. `whenThere`: which windows the server knows while it can
  // be reached. One that is a guest of a Wayland session knows those of X programs only.
  explicit XcbWindows(std::optional<std::string> displayName, WindowCoverage whenThere = WindowCoverage::all,
                      std::chrono::milliseconds retryInterval = std::chrono::seconds{5});

  [[nodiscard]] WindowCoverage coverage() const override;
  [[nodiscard]] WindowsSnapshot snapshot() override;
  // Changes to the window's desktop first, if it is on another one.
  [[nodiscard]] std::optional<desktop::WindowID> windowAt(Point point) override;
  bool activate(desktop::WindowID window) override;
  bool close(desktop::WindowID window) override;

 private:
  // Null when there is no window manager to be asked.
  [[nodiscard]] ServerConnection* managedServer() QUILLARD_REQUIRES(mutex);

  const WindowCoverage whenThere;
  mutable Mutex mutex;
  mutable ServerLink link QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::x11
