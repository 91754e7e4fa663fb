#pragma once

#include <string_view>

#include <QtGui/QPalette>

#include "platform/linux/shell/TemplateImageIcon.h"

namespace quillard::desktop {

// The colours of a tray icon. Trays do not say what colour they have: most desktops have a dark bar whatever their
// windows look like, and one (KDE) gives its bar the colours of its windows. A thin edge in the opposite tone, not seen
// on a bar of the expected colour, keeps the icon readable on one of the other.
//
// `currentDesktop`: XDG_CURRENT_DESKTOP, names separated by colons.
[[nodiscard]] IconInk trayInk(std::string_view currentDesktop, const QPalette& system);

}  // namespace quillard::desktop
