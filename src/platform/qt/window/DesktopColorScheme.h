#pragma once

#include <functional>
#include <memory>

namespace quillard::qt {

enum class ColorScheme { noPreference, dark, light };

// What the user has chosen for the whole desktop, where that is not told by the colours that Qt gives to windows: many
// desktops tell it over the bus only.
class DesktopColorScheme {
 public:
  // `onChange` comes on the main thread, in a later turn: once the choice is known, and at each change. Null where Qt's
  // colours tell it all.
  static std::unique_ptr<DesktopColorScheme> watch(std::function<void(ColorScheme)> onChange);
  virtual ~DesktopColorScheme() = default;
};

}  // namespace quillard::qt
