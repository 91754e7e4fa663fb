#pragma once

#include <functional>
#include <memory>

namespace quillard::qt {

enum class ColorScheme { noPreference, dark, light };

// What the user has chosen for the whole desktop, where that is not told by the colours that Qt gives to windows: many
// desktops tell it over the bus only.
class DesktopColorScheme {
 public:
  DesktopColorScheme() = default;
  DesktopColorScheme(const DesktopColorScheme&) = delete;
  DesktopColorScheme& operator=(const DesktopColorScheme&) = delete;
  virtual ~DesktopColorScheme() = default;
};

// Watches the choice for as long as what it returns lives. `onChange` comes on the main thread, in a later turn: once
// the choice is known, and at each change. Null where Qt's colours tell it all.
using WatchColorScheme = std::unique_ptr<DesktopColorScheme> (*)(std::function<void(ColorScheme)> onChange);

}  // namespace quillard::qt
