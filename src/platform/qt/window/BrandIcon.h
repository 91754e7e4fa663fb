#pragma once

#include <QtCore/QRectF>
#include <QtGui/QIcon>

class QPainter;

namespace quillard::qt {

// The agent's icon: a screen with a check mark on it, as in the menu bar, in the brand's colours.
void drawBrandIcon(QPainter& painter, const QRectF& box);

// The same for task bars and window lists.
[[nodiscard]] QIcon brandIcon();

}  // namespace quillard::qt
