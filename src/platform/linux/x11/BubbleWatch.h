#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <QtCore/QSocketNotifier>

#include "platform/linux/windows/DesktopWindows.h"
#include "platform/linux/x11/ServerConnection.h"

namespace quillard::x11 {

// Calls back when the X server shows a notification that no window manager manages, as those of XFCE, LXQt and MATE:
// such a window is in no list, so that nothing else tells of it. It is one that calls itself a notification, or that
// bypasses the window manager in Qt's way and is neither menu nor tooltip. LXQt shows all notifications in one window,
// so that it also calls back when such a window takes another size. Hints, which may be too many.
//
// Made, used and destroyed on the main thread, whose event loop is Qt's. An idle desktop sends it nothing.
class BubbleWatch {
 public:
  // `displayName`: absent when there is no X server of the session, which it then never tries. `changes` outlives this;
  // it tells when a server that had gone is back.
  BubbleWatch(std::optional<std::string> displayName, desktop::WindowChanges& changes, std::function<void()> onBubble);

 private:
  void connect();
  void disconnect();
  void takeEvents();
  // Whether the event tells of one that came, or takes another size.
  [[nodiscard]] bool tellsOfBubble(const xcb_generic_event_t& event);
  [[nodiscard]] bool isBubble(WindowID window) const;

  const std::optional<std::string> displayName;
  const std::function<void()> onBubble;
  std::unique_ptr<ServerConnection> server;
  xcb_atom_t bypassesManager = XCB_ATOM_NONE;  // A type of windows that only Qt and KDE know.
  std::unique_ptr<QSocketNotifier> notifier;
  std::map<WindowID, std::pair<int, int>> sizes;  // Of notifications that show, as far as they are known.
  platform::SubscriptionHandle subscription;
};

}  // namespace quillard::x11
