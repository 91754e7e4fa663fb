#include "platform/qt/window/CodeView.h"

#include <algorithm>
#include <cmath>

#include <QtGui/QPainter>

#include "platform/qt/window/Symbols.h"

namespace quillard::qt {
namespace {

constexpr int kPlaceholder = 168;
constexpr int kPlaceholderSymbol = 84;
constexpr int kPadding = 8;
constexpr double kRadius = 12;

}  // namespace

CodeView::CodeView(QWidget* parent) : QWidget(parent) { hide(); }

void CodeView::setContent(const Bitmap* bitmap, const std::string& placeholderSymbol, const std::string& name) {
  grid = bitmap ? moduleGrid(*bitmap) : ModuleGrid{};
  symbol = placeholderSymbol;
  setAccessibleName(QString::fromStdString(name));
  setVisible(grid.width > 0 || !symbol.empty());
  update();
}

int CodeView::pixelsPerModule(int side) const {
  const int room = static_cast<int>((side - 2 * kPadding) * devicePixelRatioF());
  return std::max(1, room / std::max(grid.width, grid.height));
}

int CodeView::sideFor(int room) const {
  if (grid.width == 0) return std::min(room, kPlaceholder);
  const int side = std::min(room, largest);
  const double pixels = pixelsPerModule(side) * std::max(grid.width, grid.height);
  return static_cast<int>(std::ceil(pixels / devicePixelRatioF())) + 2 * kPadding;
}

void CodeView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(grid.width > 0 ? QPen{palette().color(QPalette::Mid)} : QPen{Qt::NoPen});
  painter.setBrush(grid.width > 0 ? QColor{Qt::white} : palette().color(QPalette::Midlight));
  painter.drawRoundedRect(QRectF{rect()}.adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
  if (grid.width > 0) {
    drawCode(painter);
  } else {
    QRectF box{0, 0, kPlaceholderSymbol, kPlaceholderSymbol};
    box.moveCenter(QRectF{rect()}.center());
    drawSymbol(painter, symbol, box, palette().color(QPalette::PlaceholderText));
  }
}

// In screen pixels, and from a whole one: nothing is ever spread over two.
void CodeView::drawCode(QPainter& painter) const {
  const double ratio = painter.device()->devicePixelRatioF();
  const int side = pixelsPerModule(width());
  const QPointF origin = painter.deviceTransform().map(QPointF{0, 0});
  const QPoint start{static_cast<int>(std::lround(origin.x() + (width() * ratio - side * grid.width) / 2)),
                     static_cast<int>(std::lround(origin.y() + (height() * ratio - side * grid.height) / 2))};
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
  painter.setTransform(painter.deviceTransform().inverted() * painter.transform());
  for (int y = 0; y < grid.height; ++y) {
    for (int x = 0; x < grid.width; ++x) {
      const bool isLight = grid.isLight[static_cast<std::size_t>(y) * static_cast<std::size_t>(grid.width) +
                                        static_cast<std::size_t>(x)];
      if (!isLight) painter.fillRect(start.x() + x * side, start.y() + y * side, side, side, Qt::black);
    }
  }
  painter.restore();
}

}  // namespace quillard::qt
