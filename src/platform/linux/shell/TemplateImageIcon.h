#pragma once

#include <QtCore/QRectF>
#include <QtGui/QColor>
#include <QtGui/QIcon>

#include "values/Images.h"

class QPainter;

namespace quillard::desktop {

// How a picture in one colour is coloured.
struct IconInk {
  QColor color;
  QColor halo;  // A thin edge around everything, for bars whose colour is not known. Invalid: none.
  bool operator==(const IconInk&) const = default;
};

// Draws the picture as large as fits into `box`, in its middle.
void drawTemplateImage(QPainter& painter, const TemplateImage& image, const QRectF& box, const IconInk& ink);

// The picture as an icon, sharp at every size and scale.
[[nodiscard]] QIcon templateImageIcon(const TemplateImage& image, const IconInk& ink);

}  // namespace quillard::desktop
