#include "platform/qt/window/Symbols.h"

#include <array>
#include <utility>

#include <QtGui/QPainter>
#include <QtGui/QTransform>

namespace quillard::qt {
namespace {

constexpr double kGrid = 24;
constexpr double kStroke = 1.9;

QPainterPath stroked(const QPainterPath& path, double width = kStroke) {
  QPainterPathStroker stroker;
  stroker.setWidth(width);
  stroker.setCapStyle(Qt::RoundCap);
  stroker.setJoinStyle(Qt::RoundJoin);
  return stroker.createStroke(path);
}

QPainterPath line(std::initializer_list<QPointF> points) {
  QPainterPath path;
  for (const auto& point : points) path.elementCount() == 0 ? path.moveTo(point) : path.lineTo(point);
  return path;
}

QPainterPath disc(QPointF center, double radius) {
  QPainterPath path;
  path.addEllipse(center, radius, radius);
  return path;
}

QPainterPath rounded(const QRectF& rect, double radius) {
  QPainterPath path;
  path.addRoundedRect(rect, radius, radius);
  return path;
}

QPainterPath arc(QPointF center, double radius, double start, double span) {
  const QRectF box{center.x() - radius, center.y() - radius, 2 * radius, 2 * radius};
  QPainterPath path;
  path.arcMoveTo(box, start);
  path.arcTo(box, start, span);
  return path;
}

QPainterPath folder() {
  QPainterPath path = line({{3.5, 18}, {3.5, 6.5}, {9.5, 6.5}, {11.5, 9}, {20.5, 9}, {20.5, 18}});
  path.closeSubpath();
  return stroked(path);
}

QPainterPath checkMark() { return stroked(line({{6, 12.6}, {10.2, 16.8}, {18, 7.8}}), 2.2); }

QPainterPath folderWithCheck() {
  QPainterPath path = line({{20.5, 11}, {20.5, 9}, {11.5, 9}, {9.5, 6.5}, {3.5, 6.5}, {3.5, 18}, {11, 18}});
  return stroked(path).united(stroked(line({{13.6, 16.6}, {16.2, 19.2}, {21, 13.6}}), 2.1));
}

// Waving: one arm raised.
QPainterPath waver() {
  return disc({12, 4.8}, 2.5)
      .united(stroked(line({{5.4, 5.6}, {8.4, 9.8}, {15.4, 9.8}, {17.6, 14.2}}), 2.1))
      .united(stroked(line({{9.2, 10}, {9.2, 20.4}}), 2.3))
      .united(stroked(line({{14.8, 10}, {14.8, 20.4}}), 2.3))
      .united(rounded({8.4, 9, 7.2, 7}, 1));
}

// Arms spread.
QPainterPath person() {
  return disc({12, 4.8}, 2.3)
      .united(stroked(line({{4.8, 9}, {10, 10.4}, {14, 10.4}, {19.2, 9}}), 2))
      .united(stroked(line({{8, 20.4}, {10.2, 14.4}, {10.2, 10.6}, {13.8, 10.6}, {13.8, 14.4}, {16, 20.4}}), 2));
}

QPainterPath hand() {
  QPainterPath palm = line({{7.6, 13.4}, {7.6, 15.6}});
  palm.cubicTo({7.6, 18.8}, {9.8, 20.8}, {12.8, 20.8});
  palm.cubicTo({16, 20.8}, {18.2, 18.6}, {18.2, 15.4});
  palm.lineTo({18.2, 7.4});
  return stroked(palm)
      .united(stroked(line({{7.6, 15}, {4.8, 11.8}})))
      .united(stroked(line({{8.9, 12}, {8.9, 5.6}})))
      .united(stroked(line({{12, 11.4}, {12, 3.6}})))
      .united(stroked(line({{15.1, 11.6}, {15.1, 4.8}})));
}

QPainterPath power() {
  return stroked(arc({12, 13}, 7.6, 125, 290), 2.1).united(stroked(line({{12, 3.6}, {12, 11.4}}), 2.1));
}

QPainterPath arrowDown() {
  return stroked(line({{12, 4.5}, {12, 19}}), 2.3).united(stroked(line({{5.8, 13}, {12, 19.2}, {18.2, 13}}), 2.3));
}

QPainterPath arrowUp() { return QTransform{1, 0, 0, -1, 0, kGrid}.map(arrowDown()); }

QPainterPath arrowClockwise() {
  return stroked(arc({12, 12.4}, 7.2, 50, -318), 2.2).united(stroked(line({{16.2, 2.6}, {17, 7.2}, {12.2, 8}}), 2.2));
}

QPainterPath bell() {
  QPainterPath body;
  body.moveTo(4.6, 17);
  body.cubicTo({7.2, 14.8}, {5.6, 5}, {12, 5});
  body.cubicTo({18.4, 5}, {16.8, 14.8}, {19.4, 17});
  body.closeSubpath();
  return stroked(body)
      .united(stroked(line({{12, 3.2}, {12, 4.8}}), 2.1))
      .united(stroked(arc({12, 18.4}, 2.4, 200, 140)));
}

QPainterPath struckOut(const QPainterPath& shape) {
  const QPainterPath stroke = line({{4, 4}, {20, 20}});
  return shape.subtracted(stroked(stroke, 5)).united(stroked(stroke));
}

QPainterPath eye() {
  QPainterPath outline;
  outline.moveTo(2.8, 12);
  outline.cubicTo({6.6, 4.9}, {17.4, 4.9}, {21.2, 12});
  outline.cubicTo({17.4, 19.1}, {6.6, 19.1}, {2.8, 12});
  outline.closeSubpath();
  return stroked(outline).united(disc({12, 12}, 2.7));
}

QPainterPath pause() { return rounded({6.6, 5, 3.8, 14}, 1.4).united(rounded({13.6, 5, 3.8, 14}, 1.4)); }

QPainterPath play() {
  QPainterPath path = line({{8, 5.4}, {18.4, 12}, {8, 18.6}});
  path.closeSubpath();
  return stroked(path, 1.6).united(path);
}

QPainterPath moon() { return disc({11.6, 12.4}, 8.2).subtracted(disc({16, 8.8}, 7.4)); }

QPainterPath clock() {
  return stroked(disc({12, 12}, 8.4)).united(stroked(line({{12, 7.4}, {12, 12.4}, {15.2, 14.4}})));
}

QPainterPath phone() {
  return stroked(rounded({7, 3, 10, 18}, 2.6)).united(stroked(line({{10.8, 18}, {13.2, 18}}), 1.6));
}

QPainterPath screen() {
  return stroked(rounded({3, 4.6, 18, 11.8}, 2))
      .united(stroked(line({{12, 16.6}, {12, 19.8}})))
      .united(stroked(line({{8.2, 20}, {15.8, 20}})));
}

QPainterPath qrCode() {
  QPainterPath path;
  for (const QPointF& corner : {QPointF{3.8, 3.8}, QPointF{14, 3.8}, QPointF{3.8, 14}}) {
    path = path.united(stroked(rounded({corner.x(), corner.y(), 6.2, 6.2}, 1), 1.7))
               .united(rounded({corner.x() + 2.1, corner.y() + 2.1, 2, 2}, 0.4));
  }
  for (const QPointF& dot :
       {QPointF{13.2, 13.2}, QPointF{18.4, 13.2}, QPointF{15.8, 15.8}, QPointF{13.2, 18.4}, QPointF{18.4, 18.4}}) {
    path = path.united(rounded({dot.x(), dot.y(), 2.6, 2.6}, 0.5));
  }
  return path;
}

QPainterPath lock() {
  return rounded({5, 10.4, 14, 10}, 2.4)
      .subtracted(disc({12, 15.2}, 1.7))
      .united(stroked(line({{8.2, 11}, {8.2, 8.4}}), 2.1))
      .united(stroked(line({{15.8, 11}, {15.8, 8.4}}), 2.1))
      .united(stroked(arc({12, 8}, 3.8, 0, 180), 2.1));
}

QPainterPath shield() {
  QPainterPath path;
  path.moveTo(12, 3.2);
  path.cubicTo({14.4, 5}, {17, 5.8}, {19.4, 5.8});
  path.cubicTo({19.8, 13}, {17.2, 18.4}, {12, 20.8});
  path.cubicTo({6.8, 18.4}, {4.2, 13}, {4.6, 5.8});
  path.cubicTo({7, 5.8}, {9.6, 5}, {12, 3.2});
  return stroked(path);
}

QPainterPath exclamation() { return stroked(line({{12, 5}, {12, 13.2}}), 2.6).united(disc({12, 18.2}, 1.7)); }

QPainterPath gear() {
  QPainterPath path = disc({12, 12}, 6.6);
  for (int i = 0; i < 8; ++i) {
    QTransform turn;
    turn.translate(12, 12).rotate(45.0 * i);
    path = path.united(turn.map(rounded({-1.6, -9.4, 3.2, 4.6}, 1)));
  }
  return path.subtracted(disc({12, 12}, 3));
}

// Lines from one place to two others.
QPainterPath network() {
  return stroked(line({{12, 6.2}, {12, 12}, {6, 17.4}}))
      .united(stroked(line({{12, 12}, {18, 17.4}})))
      .united(disc({12, 5.4}, 2.6))
      .united(disc({5.6, 18}, 2.6))
      .united(disc({18.4, 18}, 2.6));
}

using Shape = QPainterPath (*)();

struct NamedShape {
  std::string_view name;
  Shape shape;
};

constexpr std::array kShapes{
    NamedShape{"folder", folder},
    NamedShape{"folder.badge.checkmark", folderWithCheck},
    NamedShape{"app.badge.checkmark", folderWithCheck},
    NamedShape{"externaldrive", folder},
    NamedShape{"figure.wave", waver},
    NamedShape{"figure", person},
    NamedShape{"figure.arms.open", person},
    NamedShape{"accessibility", person},
    NamedShape{"hand.raised", hand},
    NamedShape{"power", power},
    NamedShape{"arrow.down", arrowDown},
    NamedShape{"arrow.up", arrowUp},
    NamedShape{"arrow.clockwise", arrowClockwise},
    NamedShape{"arrow.triangle.2.circlepath", arrowClockwise},
    NamedShape{"bell", bell},
    NamedShape{"eye", eye},
    NamedShape{"pause", pause},
    NamedShape{"play", play},
    NamedShape{"moon", moon},
    NamedShape{"moon.zzz", moon},
    NamedShape{"clock", clock},
    NamedShape{"iphone", phone},
    NamedShape{"desktopcomputer", screen},
    NamedShape{"display", screen},
    NamedShape{"qrcode", qrCode},
    NamedShape{"lock", lock},
    NamedShape{"shield", shield},
    NamedShape{"checkmark", checkMark},
    NamedShape{"exclamationmark", exclamation},
    NamedShape{"gearshape", gear},
    NamedShape{"gear", gear},
    NamedShape{"network", network},
};

bool takeEnding(std::string_view& name, std::string_view ending) {
  if (!name.ends_with(ending)) return false;
  name.remove_suffix(ending.size());
  return true;
}

Shape shapeNamed(std::string_view name) {
  for (const auto& known : kShapes) {
    if (known.name == name) return known.shape;
  }
  return nullptr;
}

QPainterPath inCircle(const QPainterPath& shape, bool isFilled) {
  QTransform smaller;
  smaller.translate(12, 12).scale(0.62, 0.62).translate(-12, -12);
  const QPainterPath inner = smaller.map(shape);
  return isFilled ? disc({12, 12}, 10.6).subtracted(inner) : stroked(disc({12, 12}, 9.8), 1.7).united(inner);
}

}  // namespace

QPainterPath symbolShape(std::string_view name) {
  const bool isFilled = takeEnding(name, ".fill");
  const bool isRinged = takeEnding(name, ".circle");
  const bool isStruck = takeEnding(name, ".slash");
  const Shape shape = shapeNamed(name);
  if (!shape) return disc({12, 12}, 5);
  const QPainterPath plain = isStruck ? struckOut(shape()) : shape();
  return isRinged ? inCircle(plain, isFilled) : plain;
}

void drawSymbol(QPainter& painter, std::string_view name, const QRectF& box, const QColor& color) {
  QTransform place;
  place.translate(box.x(), box.y()).scale(box.width() / kGrid, box.height() / kGrid);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillPath(place.map(symbolShape(name)), color);
  painter.restore();
}

}  // namespace quillard::qt
