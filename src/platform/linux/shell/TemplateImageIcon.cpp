#include "platform/linux/shell/TemplateImageIcon.h"

#include <algorithm>
#include <variant>

#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

namespace quillard::desktop {
namespace {

constexpr double kHaloWidth = 1.6;

QRectF toQRectF(const Rect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

// What one step covers, with y growing upwards as in the step.
class StepShape {
 public:
  QPainterPath operator()(const RoundedRectStep& step) const {
    QPainterPath path;
    path.addRoundedRect(toQRectF(step.rect), step.radius, step.radius);
    return outlined(path, step.lineWidth, false);
  }
  QPainterPath operator()(const OvalStep& step) const {
    QPainterPath path;
    path.addEllipse(toQRectF(step.rect));
    return step.lineWidth > 0 ? outlined(path, step.lineWidth, false) : path;
  }
  QPainterPath operator()(const PolylineStep& step) const {
    QPainterPath path;
    for (std::size_t i = 0; i < step.points.size(); ++i) {
      const QPointF point{step.points[i].x, step.points[i].y};
      i == 0 ? path.moveTo(point) : path.lineTo(point);
    }
    return outlined(path, step.lineWidth, step.roundCapsAndJoins);
  }
  QPainterPath operator()(const ArcStep& step) const {
    const QRectF box{step.center.x - step.radius, step.center.y - step.radius, 2 * step.radius, 2 * step.radius};
    double span = step.endDegrees - step.startDegrees;
    if (span < 0) span += 360;
    QPainterPath path;
    path.arcMoveTo(box, -step.startDegrees);  // Qt's angles grow the other way round where y grows upwards.
    path.arcTo(box, -step.startDegrees, -span);
    return outlined(path, step.lineWidth, step.roundCaps);
  }

 private:
  static QPainterPath outlined(const QPainterPath& path, double width, bool isRound) {
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(isRound ? Qt::RoundCap : Qt::FlatCap);
    stroker.setJoinStyle(isRound ? Qt::RoundJoin : Qt::MiterJoin);
    return stroker.createStroke(path);
  }
};

class TemplateImageEngine final : public QIconEngine {
 public:
  TemplateImageEngine(TemplateImage image, IconInk ink) : image(std::move(image)), ink(ink) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
    drawTemplateImage(*painter, image, rect, ink);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap picture{size};
    picture.fill(Qt::transparent);
    QPainter painter{&picture};
    paint(&painter, picture.rect(), mode, state);
    return picture;
  }
  // Offered to trays that fetch the icon over the bus; all others ask for the size that they want.
  QList<QSize> availableSizes(QIcon::Mode /*mode*/, QIcon::State /*state*/) override {
    return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}};
  }
  [[nodiscard]] QIconEngine* clone() const override { return new TemplateImageEngine(*this); }

 private:
  TemplateImage image;
  IconInk ink;
};

}  // namespace

void drawTemplateImage(QPainter& painter, const TemplateImage& image, const QRectF& box, const IconInk& ink) {
  if (image.size.width <= 0 || image.size.height <= 0) return;
  const double scale = std::min(box.width() / image.size.width, box.height() / image.size.height);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(box.center().x() - image.size.width * scale / 2, box.center().y() + image.size.height * scale / 2);
  painter.scale(scale, -scale);
  const QPen halo{ink.halo, kHaloWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
  for (const auto& step : image.steps) {
    if (ink.halo.isValid()) painter.strokePath(std::visit(StepShape{}, step), halo);
  }
  for (const auto& step : image.steps) painter.fillPath(std::visit(StepShape{}, step), ink.color);
  painter.restore();
}

QIcon templateImageIcon(const TemplateImage& image, const IconInk& ink) {
  QIcon icon{new TemplateImageEngine(image, ink)};
  icon.setIsMask(!ink.halo.isValid());
  return icon;
}

}  // namespace quillard::desktop
