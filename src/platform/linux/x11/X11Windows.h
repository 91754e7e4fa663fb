#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "values/Geometry.h"

namespace quillard::x11 {

using WindowID = std::uint32_t;

struct Extents {
  double left = 0;
  double right = 0;
  double top = 0;
  double bottom = 0;
  bool operator==(const Extents&) const = default;
};

enum class WindowType { normal, dialog, utility, dock, desktop, notification, menu, splash, other };

// A top-level window of the window manager's client list, as it was when asked. Pixels, origin at the top left of the
// root window.
struct Window {
  WindowID id = 0;
  std::optional<std::int32_t> processIdentifier;  // _NET_WM_PID, when the window's machine is this one.
  std::string name;                               // _NET_WM_NAME, else WM_NAME; UTF-8; empty when neither is set.
  std::string className;                          // The class (second) part of WM_CLASS; empty when not set.
  // The first of _NET_WM_WINDOW_TYPE that is known. Without any: a dialog when WM_TRANSIENT_FOR is set, else normal.
  WindowType type = WindowType::normal;
  bool isModal = false;   // _NET_WM_STATE_MODAL
  bool isHidden = false;  // Minimised: _NET_WM_STATE_HIDDEN, or iconic on this desktop.
  bool skipsTaskbar = false;
  bool isAbove = false;
  bool isBelow = false;
  bool isMapped = false;  // Neither minimised nor withdrawn, on whatever desktop the window manager keeps it.
  std::optional<std::uint32_t> desktop;  // Absent: on all of them, or not stated.
  std::optional<WindowID> transientFor;  // Never the root window.
  Rect clientBounds;                     // Of the client's own window, without the frame.
  Extents frame;                         // _NET_FRAME_EXTENTS: what the window manager draws around it.
  std::optional<Extents> gtkFrame;       // _GTK_FRAME_EXTENTS: the client's own shadow, inside `clientBounds`.
  double opacity = 1;                    // _NET_WM_WINDOW_OPACITY, 0 to 1.
  bool operator==(const Window&) const = default;
};

struct WindowsSnapshot {
  std::vector<Window> windows;  // Bottom to top.
  std::optional<WindowID> active;
  std::optional<std::uint32_t> currentDesktop;
  std::optional<Size> screen;  // Of the root window. Absent without an X server.
  bool operator==(const WindowsSnapshot&) const = default;
};

// Asks the X server for its windows. Any thread. An instance on which there is no X server answers "no windows".
class Windows {
 public:
  virtual ~Windows() = default;
  [[nodiscard]] virtual bool isAvailable() const = 0;
  // Two round trips to the X server; no application is asked.
  [[nodiscard]] virtual WindowsSnapshot snapshot() = 0;
  // The window of the client list that a click at `point` would reach: nothing lies above it there, not even what is in
  // no list, such as menus and notifications. Absent: nothing of the list, or it cannot be told.
  [[nodiscard]] virtual std::optional<WindowID> windowAt(Point /*point*/) { return std::nullopt; }
  // Asks the window manager, as a pager does: in front, restored, on its desktop, with the keyboard. False: could not
  // be asked.
  virtual bool activate(WindowID window) = 0;
};

}  // namespace quillard::x11
