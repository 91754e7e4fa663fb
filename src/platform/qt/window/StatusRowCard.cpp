#include "platform/qt/window/StatusRowCard.h"

#include <algorithm>

#include <QtGui/QPainter>

#include "platform/qt/window/Symbols.h"
#include "platform/qt/window/WindowPalette.h"

namespace quillard::qt {
namespace {

constexpr int kPadding = 16;
constexpr int kTile = 40;
constexpr double kTileRadius = 11;
constexpr int kSymbolInset = 7;
constexpr double kTileStrength = 0.15;
constexpr int kTileGap = 14;
constexpr int kDot = 8;
constexpr int kDotGap = 6;
constexpr int kTitleGap = 12;
constexpr int kRowLineGap = 3;
constexpr int kActionsGap = 16;
constexpr int kActionsTopGap = 8;
// Texts keep at least so much of the line when buttons stand beside them.
constexpr int kLeastRowTextWidth = 190;

}  // namespace

StatusRowCard::StatusRowCard(QWidget* parent, StatusWindowButton primary, StatusWindowButton secondary)
    : CardView(parent),
      titleLabel(new WrappedLabel(this, TextStyle::rowTitle)),
      statusLabel(new WrappedLabel(this, TextStyle::button)),
      detailLabel(new WrappedLabel(this, TextStyle::small, QPalette::PlaceholderText)),
      primaryButton(new ActionButton(this, Prominence::primary, primary)),
      secondaryButton(new ActionButton(this, Prominence::secondary, secondary)),
      actions({primaryButton, secondaryButton}) {}

void StatusRowCard::setContent(const StatusRowContent& content) {
  symbol = content.symbol;
  tint = content.tint;
  titleLabel->setContent(content.title);
  statusLabel->setContent(content.status);
  detailLabel->setContent(content.detail);
  primaryButton->setContent(content.primaryButton, content.title);
  secondaryButton->setContent(content.secondaryButton, content.title);
  setAccessibleName(QString::fromStdString(content.title));
  setAccessibleDescription(
      QString::fromStdString(content.status.empty() ? content.detail : content.status + ". " + content.detail));
  update();
}

void StatusRowCard::updateAppearance() {
  for (auto* label : {titleLabel, statusLabel, detailLabel}) label->updateFont();
  for (auto* button : {primaryButton, secondaryButton}) button->updateFont();
  update();
}

bool StatusRowCard::hasRoomBeside(int width) const {
  const int title = titleLabel->naturalWidth() + kTitleGap + kDot + kDotGap + statusLabel->naturalWidth();
  return width - actions.naturalWidth() - kActionsGap >= std::max(kLeastRowTextWidth, std::min(title, width / 2));
}

int StatusRowCard::arrange(QSize size, Placing placing) {
  const int x = kPadding + kTile + kTileGap;
  const int inner = size.width() - x - kPadding;
  const bool hasActions = !actions.isEmpty();
  const bool isBeside = hasActions && hasRoomBeside(inner);
  const int textWidth = isBeside ? inner - actions.naturalWidth() - kActionsGap : inner;
  const int textHeight = arrangeTexts({x, 0, textWidth, 0}, Placing::measure);
  const int besideHeight = isBeside ? actions.arrange({}, actions.naturalWidth(), {}, Placing::measure) : 0;
  const int belowHeight =
      hasActions && !isBeside ? kActionsTopGap + actions.arrange({}, inner, {}, Placing::measure) : 0;
  const int content = std::max({kTile, textHeight + belowHeight, besideHeight});
  const int height = content + 2 * kPadding;
  if (placing == Placing::measure) return height;

  const int total = std::max(height, size.height());
  const int top = (total - textHeight - belowHeight) / 2;
  symbolTile = {kPadding, belowHeight > 0 ? top : (total - kTile) / 2, kTile, kTile};
  arrangeTexts({x, top, textWidth, textHeight}, Placing::place);
  if (isBeside) {
    actions.arrange(
        {size.width() - kPadding - actions.naturalWidth() + ActionButton::kRing, (total - besideHeight) / 2},
        actions.naturalWidth(), Qt::AlignRight, Placing::place);
  } else if (hasActions) {
    actions.arrange({x - ActionButton::kRing, top + textHeight + kActionsTopGap}, inner, Qt::AlignLeft, Placing::place);
  }
  return height;
}

// Title and status in one line where they fit, the detail below.
int StatusRowCard::arrangeTexts(QRect room, Placing placing) {
  const int titleWidth = std::min(titleLabel->naturalWidth(), room.width());
  const int titleHeight = titleLabel->heightForWidth(titleWidth);
  if (placing == Placing::place) titleLabel->setGeometry(room.x(), room.y(), titleWidth, titleHeight);
  int height = titleHeight;
  const int statusWidth = kDot + kDotGap + statusLabel->naturalWidth();
  if (titleWidth + kTitleGap + statusWidth <= room.width()) {
    const int drop = (titleHeight - statusLabel->heightForWidth(statusLabel->naturalWidth())) / 2;
    arrangeStatus({room.x() + titleWidth + kTitleGap, room.y() + drop}, statusWidth, placing);
  } else {
    height += kRowLineGap + arrangeStatus({room.x(), room.y() + height + kRowLineGap}, room.width(), placing);
  }
  if (detailLabel->isHidden()) return height;
  const int detailHeight = detailLabel->heightForWidth(room.width());
  if (placing == Placing::place) {
    detailLabel->setGeometry(room.x(), room.y() + height + kRowLineGap, room.width(), detailHeight);
  }
  return height + kRowLineGap + detailHeight;
}

int StatusRowCard::arrangeStatus(QPoint topLeft, int width, Placing placing) {
  const int textWidth = std::min(statusLabel->naturalWidth(), width - kDot - kDotGap);
  const int height = statusLabel->heightForWidth(textWidth);
  if (placing == Placing::place) {
    const int firstLine = statusLabel->heightForWidth(statusLabel->naturalWidth());
    statusDot = {topLeft.x(), topLeft.y() + (firstLine - kDot) / 2, kDot, kDot};
    statusLabel->setGeometry(topLeft.x() + kDot + kDotGap, topLeft.y(), textWidth, height);
  }
  return height;
}

void StatusRowCard::paintEvent(QPaintEvent* event) {
  CardView::paintEvent(event);
  QPainter painter{this};
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor color = toQColor(tint, palette());
  painter.setPen(Qt::NoPen);
  painter.setBrush(mixed(palette().color(QPalette::Base), color, kTileStrength));
  painter.drawRoundedRect(symbolTile, kTileRadius, kTileRadius);
  const QRect box = symbolTile.adjusted(kSymbolInset, kSymbolInset, -kSymbolInset, -kSymbolInset);
  drawSymbol(painter, symbol, box, color);
  painter.setBrush(color);
  painter.drawEllipse(statusDot);
}

}  // namespace quillard::qt
