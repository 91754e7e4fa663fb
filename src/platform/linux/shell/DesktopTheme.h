#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/qt/window/DesktopColorScheme.h"

// Whether a desktop is dark, by what its settings say: for desktops without a portal, or whose portal leaves it open.
// Pure functions; any thread.
namespace quillard::desktop {

// Texts as they were read; absent or empty: not told.
struct ThemeFacts {
  std::string toolkitTheme;     // GTK_THEME of this session, such as "Adwaita:dark".
  std::string desktopColors;    // kdeglobals, where the session is Plasma's.
  std::string colorScheme;      // Of gsettings, with its quotes: 'prefer-dark', 'prefer-light', 'default'.
  std::string gtkTheme;         // The same: 'Yaru-dark'.
  std::string toolkitSettings;  // settings.ini of GTK 3.
};

// The first of these that says something, in their order.
[[nodiscard]] qt::ColorScheme colorSchemeOf(const ThemeFacts& facts);

}  // namespace quillard::desktop
