#include "platform/qt/window/WrappedText.h"

#include <algorithm>
#include <cmath>

#include <QtGui/QFontMetricsF>
#include <QtWidgets/QApplication>

namespace quillard::qt {
namespace {

constexpr int kEndlessWidth = 1 << 20;

struct Proportion {
  double size;
  QFont::Weight weight;
};

Proportion proportionOf(TextStyle style) {
  switch (style) {
    case TextStyle::headline:
      return {1.75, QFont::Bold};
    case TextStyle::cardTitle:
      return {1.2, QFont::Bold};
    case TextStyle::rowTitle:
      return {1.05, QFont::DemiBold};
    case TextStyle::body:
      return {1.0, QFont::Normal};
    case TextStyle::small:
      return {0.95, QFont::Normal};
    case TextStyle::button:
      return {0.95, QFont::DemiBold};
  }
  return {1.0, QFont::Normal};
}

}  // namespace

QFont fontFor(TextStyle style) {
  QFont font = QApplication::font();
  const auto [size, weight] = proportionOf(style);
  if (font.pointSizeF() > 0) {
    font.setPointSizeF(font.pointSizeF() * size);
  } else {
    font.setPixelSize(static_cast<int>(std::lround(font.pixelSize() * size)));
  }
  font.setWeight(weight);
  return font;
}

WrappedText::WrappedText(const QString& text, const QFont& font, int width, Qt::Alignment alignment) {
  QString lines = withWholeSwitches(text);
  lines.replace(QLatin1Char('\n'), QChar::LineSeparator);
  QTextOption option{alignment};
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  option.setTextDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
  layout.setText(lines);
  layout.setFont(font);
  layout.setTextOption(option);
  layout.beginLayout();
  double bottom = 0;
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(std::max(width, 1));
    line.setPosition({0, bottom});
    bottom += std::ceil(line.height()) + 1;  // A little air between the lines.
  }
  layout.endLayout();
  totalHeight = static_cast<int>(std::ceil(bottom));
}

void WrappedText::draw(QPainter& painter, const QPointF& topLeft) const { layout.draw(&painter, topLeft); }

QString withWholeSwitches(QString text) {
  constexpr char16_t kWordJoiner = 0x2060;
  const QLatin1String hyphens{"--"};
  for (auto at = text.indexOf(hyphens); at >= 0; at = text.indexOf(hyphens, at + 2)) {
    const bool isBeginning = at == 0 || text[at - 1].isSpace();
    if (isBeginning && at + 2 < text.size() && text[at + 2].isLetter()) text.insert(at + 2, QChar{kWordJoiner});
  }
  return text;
}

QString plainTitle(const std::string& title) {
  return QString::fromStdString(title).replace(QLatin1Char('&'), QLatin1String("&&"));
}

int naturalWidth(const QString& text, const QFont& font) {
  double widest = 0;
  QString lines = text;
  lines.replace(QLatin1Char('\n'), QChar::LineSeparator);
  QTextLayout layout{lines, font};
  layout.beginLayout();
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(kEndlessWidth);
    widest = std::max(widest, line.naturalTextWidth());
  }
  layout.endLayout();
  return static_cast<int>(std::ceil(widest));
}

}  // namespace quillard::qt
