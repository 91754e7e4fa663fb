#include "platform/qt/window/PillView.h"

#include <algorithm>

#include <QtGui/QPainter>

namespace quillard::qt {
namespace {

constexpr int kSidePadding = 13;
constexpr int kTopPadding = 5;
constexpr int kLargestRadius = 14;

}  // namespace

PillView::PillView(QWidget* parent) : WrappedLabel(parent, TextStyle::button) { setAlignment(Qt::AlignHCenter); }

void PillView::setContent(const std::string& text, const QColor& newGround, const QColor& newInk) {
  ground = newGround;
  ink = newInk;
  WrappedLabel::setContent(text);
  update();
}

int PillView::naturalWidth() const { return WrappedLabel::naturalWidth() + 2 * kSidePadding; }

int PillView::heightForWidth(int width) const {
  return WrappedLabel::heightForWidth(width - 2 * kSidePadding) + 2 * kTopPadding;
}

QSize PillView::sizeHint() const { return {naturalWidth(), heightForWidth(naturalWidth())}; }

void PillView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(ground);
  const double radius = std::min(height() / 2.0, double{kLargestRadius});
  painter.drawRoundedRect(rect(), radius, radius);
  drawText(painter, rect().adjusted(kSidePadding, kTopPadding, -kSidePadding, -kTopPadding), ink);
}

}  // namespace quillard::qt
