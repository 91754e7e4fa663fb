#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillard::privatedesktop {

// What draws the windows of a private desktop.
enum class DesktopKind {
  openbox,  // On an X server, as are the next two.
  xfwm4,    // XFCE's window manager.
  marco,    // MATE's.
  sway,     // A Wayland compositor, as are all that follow.
  weston,
  kwin,   // Plasma's; its shell is a program beside it.
  gnome,  // GNOME Shell, with its dialogs and notifications.
};

[[nodiscard]] constexpr bool isWayland(DesktopKind kind) { return kind >= DesktopKind::sway; }

// As a person calls it, for names of tests and messages.
[[nodiscard]] std::string nameOf(DesktopKind kind);

// The kind of that name. Absent: there is none.
[[nodiscard]] std::optional<DesktopKind> kindNamed(std::string_view name);

// What is missing on this machine for a desktop of that kind, as a sentence. Absent: nothing.
[[nodiscard]] std::optional<std::string> missingFor(DesktopKind kind);

}  // namespace quillard::privatedesktop
