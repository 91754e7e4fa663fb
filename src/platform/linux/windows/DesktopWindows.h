#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Subscription.h"
#include "values/Geometry.h"

namespace quillard::desktop {

// What the desktop calls a window. Opaque: no other window has it while this one exists, nor has one of another source.
using WindowID = std::uint64_t;

struct Extents {
  double left = 0;
  double right = 0;
  double top = 0;
  double bottom = 0;
  bool operator==(const Extents&) const = default;
};

enum class WindowType { normal, dialog, utility, dock, desktop, notification, menu, splash, other };

// A top-level window as the desktop knew it when asked. Pixels, origin at the top left of the screen.
struct Window {
  WindowID id = 0;
  std::optional<std::int32_t> processIdentifier;  // Of a process of this computer.
  std::string name;                               // Its title, UTF-8. Empty when it has none.
  bool mayBeNumbered = false;  // The desktop puts a number behind a title that another window has, too.
  std::string className;       // What its program calls itself to the desktop. Empty: nothing.
  WindowType type = WindowType::normal;
  bool isModal = false;
  bool isHidden = false;  // Minimised.
  bool skipsTaskbar = false;
  bool isAbove = false;
  bool isBelow = false;
  bool isMapped = false;  // Neither minimised nor withdrawn, on whatever desktop the window manager keeps it.
  std::optional<std::uint32_t> desktop;  // Absent: on all of them, or not stated.
  std::optional<WindowID> transientFor;
  Rect clientBounds;                // Of the client's own window or buffer, without the frame.
  Extents frame;                    // What the window manager draws around it.
  std::optional<Extents> gtkFrame;  // The client's own shadow, inside `clientBounds`.
  double opacity = 1;               // 0 to 1.
  // Its elements tell the accessibility service their places within the window: it is a client of Wayland.
  bool hasRelativePlaces = false;
  bool operator==(const Window&) const = default;
};

// Which of the windows on the screen a source knows.
enum class WindowCoverage {
  none,  // It cannot be asked: nothing is known of any window.
  some,  // What it lists is there; others may be, too, and one of these may be in front.
  all,
};

struct WindowsSnapshot {
  std::vector<Window> windows;     // Bottom to top, as far as the desktop has an order.
  std::optional<WindowID> active;  // The one with the keyboard, if that is one of these.
  std::optional<std::uint32_t> currentDesktop;
  std::optional<Size> screen;  // Absent: not known.
  WindowCoverage coverage = WindowCoverage::none;
  bool operator==(const WindowsSnapshot&) const = default;
};

// Asks the desktop for its windows, and asks things of it. Each desktop has its own way; one instance has one source
// for all its life, so that a window that is listed no longer has gone. Any thread. No application is asked.
class DesktopWindows {
 public:
  DesktopWindows() = default;
  DesktopWindows(const DesktopWindows&) = delete;
  DesktopWindows& operator=(const DesktopWindows&) = delete;
  virtual ~DesktopWindows() = default;

  // What a snapshot would know now.
  [[nodiscard]] virtual WindowCoverage coverage() const = 0;
  // May wait for the desktop, some tenths of a second at the longest where that is well.
  [[nodiscard]] virtual WindowsSnapshot snapshot() = 0;
  // The listed window that a click at `point` would reach: nothing lies above it there, not even what is in no list,
  // such as menus and notifications. Absent: none of the list, or it cannot be told.
  [[nodiscard]] virtual std::optional<WindowID> windowAt(Point /*point*/) { return std::nullopt; }
  // Asks for it in front, restored, on its desktop, with the keyboard. False: could not be asked.
  virtual bool activate(WindowID window) = 0;
  // Asks for it to be closed, as its own close button does. False: could not be asked.
  virtual bool close(WindowID window) = 0;
};

// Notices, on the main thread, that windows came, went, were minimised or moved to another desktop, that another one is
// active, or that the present desktop is another one. Made, used and destroyed there.
class WindowChanges {
 public:
  WindowChanges() = default;
  WindowChanges(const WindowChanges&) = delete;
  WindowChanges& operator=(const WindowChanges&) = delete;
  virtual ~WindowChanges() = default;

  // `onRead`: on the main thread, with what there is now. Bursts are told once. When the source goes, there is nothing.
  [[nodiscard]] virtual platform::SubscriptionHandle observe(std::function<void(const WindowsSnapshot&)> onRead) = 0;
  // Whether a snapshot may be another one by now than when this was asked last, moves and names included. False only
  // where the desktop would have said so, and not for longer than half a minute. Asks nobody.
  [[nodiscard]] virtual bool mayHaveChanged() { return true; }
  // What was told last, or read when this was made.
  [[nodiscard]] virtual const WindowsSnapshot& lastSnapshot() const = 0;
};

// Of a desktop that tells nothing of its windows.
class NoDesktopWindows final : public DesktopWindows {
 public:
  [[nodiscard]] WindowCoverage coverage() const override { return WindowCoverage::none; }
  [[nodiscard]] WindowsSnapshot snapshot() override { return {}; }
  bool activate(WindowID) override { return false; }
  bool close(WindowID) override { return false; }
};

}  // namespace quillard::desktop
