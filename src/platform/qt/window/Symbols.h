#pragma once

#include <string_view>

#include <QtCore/QRectF>
#include <QtGui/QColor>
#include <QtGui/QPainterPath>

class QPainter;

namespace quillard::qt {

// Symbols are drawn in code, by name: a thing ("folder", "arrow.down"), then ".circle" for a ring around it, then
// ".fill" for a full disc from which it is cut out (without a ring: as it stands).

// What a symbol covers of a square with sides of 24, origin at the top left. A plain disc for a name not known here.
[[nodiscard]] QPainterPath symbolShape(std::string_view name);

void drawSymbol(QPainter& painter, std::string_view name, const QRectF& box, const QColor& color);

}  // namespace quillard::qt
