#include "platform/qt/window/WrappedLabel.h"

#include <QtGui/QPainter>

namespace quillard::qt {

WrappedLabel::WrappedLabel(QWidget* parent, TextStyle style, QPalette::ColorRole ink) : QLabel(parent), style(style) {
  setTextFormat(Qt::PlainText);
  setForegroundRole(ink);
  setFont(fontFor(style));
  hide();
}

void WrappedLabel::setContent(const std::string& text) {
  setText(QString::fromStdString(text));
  setVisible(!text.empty());
}

int WrappedLabel::naturalWidth() const { return qt::naturalWidth(text(), font()); }

void WrappedLabel::updateFont() { setFont(fontFor(style)); }

int WrappedLabel::heightForWidth(int width) const { return WrappedText{text(), font(), width}.height(); }

QSize WrappedLabel::sizeHint() const {
  const int width = naturalWidth();
  return {width, heightForWidth(width)};
}

void WrappedLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  drawText(painter, rect(), palette().color(foregroundRole()));
}

void WrappedLabel::drawText(QPainter& painter, const QRect& box, const QColor& color) const {
  painter.setPen(color);
  WrappedText{text(), font(), box.width(), alignment() & Qt::AlignHorizontal_Mask}.draw(painter, box.topLeft());
}

}  // namespace quillard::qt
