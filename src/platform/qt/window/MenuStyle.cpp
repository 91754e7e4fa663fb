#include "platform/qt/window/MenuStyle.h"

#include <QtGui/QPainter>
#include <QtWidgets/QStyleOptionMenuItem>

namespace quillard::qt {
namespace {

constexpr int kItemSidePadding = 12;
constexpr int kItemTopPadding = 7;
constexpr int kSeparatorHeight = 9;
constexpr int kMenuMargin = 5;
constexpr double kRadius = 6;

void drawItem(const QStyleOptionMenuItem& item, QPainter& painter) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  if (item.menuItemType == QStyleOptionMenuItem::Separator) {
    const int middle = item.rect.center().y();
    painter.fillRect(QRect{item.rect.left() + kItemSidePadding, middle, item.rect.width() - 2 * kItemSidePadding, 1},
                     item.palette.color(QPalette::Mid));
  } else {
    const bool isEnabled = item.state.testFlag(QStyle::State_Enabled);
    const bool isChosen = isEnabled && item.state.testFlag(QStyle::State_Selected);
    if (isChosen) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(item.palette.color(QPalette::Highlight));
      painter.drawRoundedRect(item.rect, kRadius, kRadius);
    }
    painter.setFont(item.font);
    painter.setPen(item.palette.color(isChosen    ? QPalette::HighlightedText
                                      : isEnabled ? QPalette::WindowText
                                                  : QPalette::PlaceholderText));
    painter.drawText(item.rect.adjusted(kItemSidePadding, 0, -kItemSidePadding, 0),
                     Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine | Qt::TextHideMnemonic, item.text);
  }
  painter.restore();
}

}  // namespace

void MenuStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
  const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
  if (element == CE_MenuItem && item) {
    drawItem(*item, *painter);
  } else if (element != CE_MenuEmptyArea) {
    QProxyStyle::drawControl(element, option, painter, widget);
  }
}

void MenuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
  if (element == PE_PanelMenu) {
    painter->fillRect(option->rect, option->palette.color(QPalette::Base));
  } else if (element == PE_FrameMenu) {
    painter->setPen(option->palette.color(QPalette::Mid));
    painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
  } else {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

QSize MenuStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                  const QWidget* widget) const {
  const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
  if (type != CT_MenuItem || !item) return QProxyStyle::sizeFromContents(type, option, size, widget);
  if (item->menuItemType == QStyleOptionMenuItem::Separator) return {1, kSeparatorHeight};
  const QFontMetrics metrics{item->font};
  const int width = metrics.size(Qt::TextSingleLine | Qt::TextHideMnemonic, item->text).width();
  return {width + 2 * kItemSidePadding + kItemSidePadding, metrics.height() + 2 * kItemTopPadding};
}

int MenuStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
  switch (metric) {
    case PM_MenuPanelWidth:
      return 1;
    case PM_MenuHMargin:
    case PM_MenuVMargin:
      return kMenuMargin;
    default:
      return QProxyStyle::pixelMetric(metric, option, widget);
  }
}

}  // namespace quillard::qt
