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
// Nothing is sent unless the program is the one that owns the shell's name on the session bus, and makes the keyboard
// itself, neither the shell nor the login manager says that the screen is locked (`isSessionLocked`), the button says
// that it is focused and the stage that it is active, and all of this still holds right before the key. A press that is
// refused gives the focus back to the button of the dialog that had it. Waits for the shell, up to some seconds where
// it hangs. Of one press each.
//
// What remains: the key goes to what has the focus, so a shell that moves it, or hangs, within the milliseconds between
// its last answer and the key presses something else, or presses later.
class ShellPress {
 public:
  // All outlive this.
  ShellPress(DesktopReading& reading, const std::optional<std::string>& sessionBusAddress,
             const std::optional<std::string>& systemBusAddress)
      : reading(reading), sessionBusAddress(sessionBusAddress), systemBusAddress(systemBusAddress) {}

  // `notImplemented`: no key was sent, for whatever reason. `cannotComplete`: it may have been.
  [[nodiscard]] platform::AXError press(Node& button);

 private:
  class Session;

  [[nodiscard]] platform::AXError press(const Node& button, Session& session);
  // Of the same dialog. Null: none has it.
  [[nodiscard]] const Node* otherButtonWithFocus(const Node& button);
  [[nodiscard]] bool grabFocus(const Node& button);
  [[nodiscard]] bool isUnlocked(Session& session);
  // Whether it has it now, and not only says that it was given.
  [[nodiscard]] bool takesFocus(const Node& button);
  // As they say now.
  [[nodiscard]] bool isFocused(const Node& button);
  [[nodiscard]] std::optional<std::uint64_t> statesOf(const Node& node);

  DesktopReading& reading;
  const std::optional<std::string>& sessionBusAddress;
  const std::optional<std::string>& systemBusAddress;
};

}  // namespace quillard::atspi
