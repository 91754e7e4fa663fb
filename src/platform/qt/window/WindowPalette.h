#pragma once

#include <QtGui/QColor>
#include <QtGui/QPalette>

#include "platform/qt/window/DesktopColorScheme.h"
#include "status/view/StatusWindowView.h"
#include "values/Images.h"

namespace quillard::qt {

// The window's own colours, carried by a palette so that every widget inherits them. Roles, as we use them:
// Window the page, Base the cards, WindowText and PlaceholderText primary and secondary text, Mid the edges of cards,
// Highlight and HighlightedText the primary buttons, Button and ButtonText the secondary ones, Midlight soft fills,
// Link the focus ring.
// Dark where the colours that the desktop gives to all windows are, or where the user has chosen dark.
[[nodiscard]] QPalette windowPalette(const QPalette& system, ColorScheme scheme = ColorScheme::noPreference);

// Whether the desktop is dark, judged by the colours that it gives to all windows.
[[nodiscard]] bool isDark(const QPalette& palette);

[[nodiscard]] QColor toQColor(const Color& color);
// The tint's colour, or that of secondary text.
[[nodiscard]] QColor toQColor(const Tint& tint, const QPalette& palette);

// `share` of `over` laid on `under`, opaque.
[[nodiscard]] QColor mixed(const QColor& under, const QColor& over, double share);

// How well two colours stand apart: 1 (the same) to 21 (black and white). 4.5 is what small text needs.
[[nodiscard]] double contrast(const QColor& first, const QColor& second);

}  // namespace quillard::qt
