#include "platform/qt/window/BrandIcon.h"

#include <QtGui/QLinearGradient>
#include <QtGui/QPainter>
#include <QtGui/QPixmap>

namespace quillard::qt {
namespace {

constexpr double kIconSide = 64;
constexpr QRgb kInkTop = 0xff26333a;
constexpr QRgb kInk = 0xff171f24;
constexpr QRgb kGreen = 0xff29c757;
constexpr QRgb kScreen = 0xfff2f6f4;

QPen roundPen(const QColor& color, double width) { return {color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin}; }

void drawGround(QPainter& painter) {
  QLinearGradient ground{0, 0, 0, kIconSide};
  ground.setColorAt(0, QColor::fromRgb(kInkTop));
  ground.setColorAt(1, QColor::fromRgb(kInk));
  painter.setPen(QPen{QColor{255, 255, 255, 28}, 1});
  painter.setBrush(ground);
  painter.drawRoundedRect(QRectF{1, 1, kIconSide - 2, kIconSide - 2}, 16, 16);
}

void drawScreen(QPainter& painter) {
  painter.setBrush(Qt::NoBrush);
  painter.setPen(roundPen(QColor::fromRgb(kScreen), 3.6));
  painter.drawRoundedRect(QRectF{12, 16, 36, 25}, 5, 5);
  painter.drawLine(QPointF{30, 41.5}, QPointF{30, 48});
  painter.drawLine(QPointF{21, 49}, QPointF{39, 49});
}

void drawCheckMark(QPainter& painter) {
  painter.setPen(QPen{QColor::fromRgb(kInk), 3.4});
  painter.setBrush(QColor::fromRgb(kGreen));
  painter.drawEllipse(QPointF{46, 38}, 12.4, 12.4);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(roundPen(QColor::fromRgb(kInk), 3.4));
  painter.drawPolyline(QPolygonF{{40.6, 38.4}, {44.6, 42.4}, {51.6, 34.4}});
}

}  // namespace

void drawBrandIcon(QPainter& painter, const QRectF& box) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(box.topLeft());
  painter.scale(box.width() / kIconSide, box.height() / kIconSide);
  drawGround(painter);
  drawScreen(painter);
  drawCheckMark(painter);
  painter.restore();
}

QIcon brandIcon() {
  QIcon icon;
  for (const int side : {16, 24, 32, 48, 64}) {
    QPixmap picture{side, side};
    picture.fill(Qt::transparent);
    QPainter painter{&picture};
    drawBrandIcon(painter, picture.rect());
    painter.end();
    icon.addPixmap(picture);
  }
  return icon;
}

}  // namespace quillard::qt
