#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/DesktopReading.h"
#include "values/Time.h"

namespace quillard::atspi {

// Presses a button of GNOME Shell's own dialogs and notifications. They offer no action, and answer a press with True
// without doing anything. So the button gets the keyboard's focus, and one Return is sent, by a keyboard that the
// shell's compositor makes for its own users' remote desktops and that is there for this key alone (its panel shows
// meanwhile that the screen is shared).
//
// Nothing is sent unless the program is the one that owns the shell's name on the session bus, and makes the keyboard
// itself, neither the shell nor the login manager says that the screen is locked (`isSessionLocked`), the button says
// that it is focused and still bears its label, the stage says that it is active, and all of this still holds right
// before the key: what the shell says last, it says within a tenth of a second in all. One that is slower, as on a busy
// machine while it draws its own movements, is asked again for some seconds; meanwhile the focus is not touched, or
// given back. Waits for the shell, up to some seconds more where it hangs. Of one press each.
//
// A press that is refused leaves the focus alone, or gives it back: to what had it in the same dialog or notification,
// else to the stage, which means to no object of the shell, so that a program that had the keys has them again.
// Whatever else of the shell had the focus does not get it back. A shell that refuses that too, or does not answer for
// seconds, leaves the focus on the button, and the user's next Return presses it.
//
// What remains: the key goes to what has the focus, so a shell that moves it, or hangs, within the milliseconds between
// its last answer and the key presses something else, or presses later.
class ShellPress {
 public:
  // All outlive this. `slowShellTimeout`: how long it waits for a shell that answers too slowly.
  ShellPress(DesktopReading& reading, const std::optional<std::string>& sessionBusAddress,
             const std::optional<std::string>& systemBusAddress, Seconds slowShellTimeout)
      : reading(reading),
        sessionBusAddress(sessionBusAddress),
        systemBusAddress(systemBusAddress),
        slowShellTimeout(slowShellTimeout) {}

  // `notImplemented`: no key was sent, for whatever reason. `cannotComplete`: it may have been.
  [[nodiscard]] platform::AXError press(Node& button);

 private:
  class Session;
  using Clock = std::chrono::steady_clock;

  // Whether the shell answers soon, by `end` at the latest.
  [[nodiscard]] static bool becomesQuick(Session& session, Clock::time_point end);
  // Leaves the focus where it was, unless it sends the key.
  [[nodiscard]] platform::AXError tryToPress(const Node& button, Session& session);
  [[nodiscard]] platform::AXError press(const Node& button, Session& session);
  // What has it of the same dialog or notification, the button itself included. Null: nothing.
  [[nodiscard]] const Node* focusedBeside(const Node& button);
  [[nodiscard]] bool isUnlocked(Session& session);
  // Whether it has it now, and not only says that it was given.
  [[nodiscard]] bool takesFocus(const Node& button);
  // `before`: null: the stage.
  void giveFocusBack(const Node& button, const Node* before);
  // As the button says now, together.
  struct Answers {
    std::optional<std::string> label;
    bool isFocused = false;  // And may be pressed, on a stage that has the keys.
  };
  [[nodiscard]] Answers ask(const Node& button);
  [[nodiscard]] bool isFocused(const Node& button) { return ask(button).isFocused; }

  DesktopReading& reading;
  const std::optional<std::string>& sessionBusAddress;
  const std::optional<std::string>& systemBusAddress;
  const Seconds slowShellTimeout;
  bool wasTooSlow = false;       // The last try failed since the shell did not answer soon, so that another may not.
  std::string label;             // As the press began.
  bool hasTakenFocus = false;    // It was asked to move to the button, whatever came of it.
  bool isFocusAnswered = false;  // The shell has answered that.
};

}  // namespace quillard::atspi
