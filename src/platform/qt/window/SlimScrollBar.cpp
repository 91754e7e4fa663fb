#include "platform/qt/window/SlimScrollBar.h"

#include <QtGui/QPainter>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOptionSlider>

#include "platform/qt/window/WindowPalette.h"

namespace quillard::qt {
namespace {

constexpr int kThickness = 12;
constexpr int kInset = 3;
constexpr int kShortestHandle = 32;
constexpr double kStrength = 0.6;
constexpr double kStrengthUnderMouse = 0.9;

}  // namespace

SlimScrollBar::SlimScrollBar(Qt::Orientation orientation, QWidget* parent) : QScrollBar(orientation, parent) {
  setAttribute(Qt::WA_Hover);
}

QSize SlimScrollBar::sizeHint() const {
  return orientation() == Qt::Vertical ? QSize{kThickness, kShortestHandle} : QSize{kShortestHandle, kThickness};
}

void SlimScrollBar::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  painter.fillRect(rect(), palette().color(QPalette::Window));
  if (maximum() <= minimum()) return;
  QStyleOptionSlider option;
  initStyleOption(&option);
  const QRect handle = style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(mixed(palette().color(QPalette::Window), palette().color(QPalette::PlaceholderText),
                         underMouse() || isSliderDown() ? kStrengthUnderMouse : kStrength));
  const double radius = (kThickness - 2 * kInset) / 2.0;
  painter.drawRoundedRect(handle.adjusted(kInset, kInset, -kInset, -kInset), radius, radius);
}

}  // namespace quillard::qt
