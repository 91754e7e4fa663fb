#include "platform/qt/window/CardView.h"

#include <QtGui/QPainter>

namespace quillard::qt {
namespace {

constexpr double kRadius = 14;

}  // namespace

void CardView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen{palette().color(QPalette::Mid), 1});
  painter.setBrush(palette().color(QPalette::Base));
  painter.drawRoundedRect(QRectF{rect()}.adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
}

}  // namespace quillard::qt
