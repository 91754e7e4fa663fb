#pragma once

#include <optional>
#include <string>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/DesktopReading.h"

namespace quillard::atspi {

// Presses a button of GNOME Shell's own dialogs and notifications. They offer no action, and answer a press with True
// without doing anything. So the button gets the keyboard's focus, and one Return is sent, by a keyboard that the
// shell's compositor makes for its own users' remote desktops and that is there for this key alone (its panel shows
// meanwhile that the screen is shared).
//
// Nothing is sent unless the program is the one that owns the shell's name on the session bus, the screen is not
// locked, the button says that it is focused and the stage that it is active, and all of this still holds right before
// the key. Waits for the shell, up to some seconds where it hangs. Of one press each.
class ShellPress {
 public:
  // Both outlive this.
  ShellPress(DesktopReading& reading, const std::optional<std::string>& sessionBusAddress)
      : reading(reading), sessionBusAddress(sessionBusAddress) {}

  // `notImplemented`: no key was sent, for whatever reason. `cannotComplete`: it may have been.
  [[nodiscard]] platform::AXError press(Node& button);

 private:
  class Session;

  [[nodiscard]] bool takesFocus(const Node& button);
  // As they say now.
  [[nodiscard]] bool isFocused(const Node& button);
  [[nodiscard]] std::optional<std::uint64_t> statesOf(const Node& node);

  DesktopReading& reading;
  const std::optional<std::string>& sessionBusAddress;
};

}  // namespace quillard::atspi
