#include "platform/qt/window/HeaderView.h"

#include <algorithm>

#include <QtGui/QPainter>

#include "platform/qt/window/BrandIcon.h"
#include "platform/qt/window/WindowPalette.h"

namespace quillard::qt {
namespace {

constexpr int kIcon = 68;
constexpr int kIconGap = 18;
constexpr int kPillGap = 20;
constexpr int kHeaderLineGap = 2;
// Where the texts would get less than this beside the pill, the pill goes below them.
constexpr int kLeastHeaderTextWidth = 300;

}  // namespace

HeaderView::HeaderView(QWidget* parent)
    : ArrangedView(parent),
      titleLabel(new WrappedLabel(this, TextStyle::button, QPalette::PlaceholderText)),
      headlineLabel(new WrappedLabel(this, TextStyle::headline)),
      detailLabel(new WrappedLabel(this, TextStyle::body, QPalette::PlaceholderText)),
      statePill(new PillView(this)) {}

void HeaderView::setContent(const StatusWindowContent& content) {
  titleLabel->setContent(content.title);
  headlineLabel->setContent(content.headline);
  detailLabel->setContent(content.detail);
  statePill->setContent(content.pillText, toQColor(content.pillColor), Qt::white);
}

void HeaderView::updateAppearance() {
  for (WrappedLabel* label : {titleLabel, headlineLabel, detailLabel, static_cast<WrappedLabel*>(statePill)}) {
    label->updateFont();
  }
  update();
}

int HeaderView::arrange(QSize size, Placing placing) {
  const int x = kIcon + kIconGap;
  const int inner = size.width() - x;
  const int pill = std::min(statePill->naturalWidth(), inner);
  const int pillHeight = statePill->heightForWidth(pill);
  const bool isBeside = inner - kPillGap - pill >= kLeastHeaderTextWidth;
  const int textWidth = isBeside ? inner - kPillGap - pill : inner;
  const int texts = arrangeTexts({x, 0, textWidth, 0}, Placing::measure);
  const int content = std::max(kIcon, isBeside ? texts : texts + kPillGap / 2 + pillHeight);
  if (placing == Placing::measure) return content;

  iconBox = {0, isBeside ? (content - kIcon) / 2 : 0, kIcon, kIcon};
  const int top = isBeside ? (content - texts) / 2 : 0;
  arrangeTexts({x, top, textWidth, 0}, Placing::place);
  if (isBeside) {
    statePill->setGeometry(size.width() - pill, (content - pillHeight) / 2, pill, pillHeight);
  } else {
    statePill->setGeometry(x, texts + kPillGap / 2, pill, pillHeight);
  }
  return content;
}

int HeaderView::arrangeTexts(QRect room, Placing placing) {
  int height = 0;
  for (auto* label : {titleLabel, headlineLabel, detailLabel}) {
    if (label->isHidden()) continue;
    const int y = height > 0 ? height + kHeaderLineGap : 0;
    const int own = label->heightForWidth(room.width());
    if (placing == Placing::place) label->setGeometry(room.x(), room.y() + y, room.width(), own);
    height = y + own;
  }
  return height;
}

void HeaderView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  drawBrandIcon(painter, iconBox);
}

}  // namespace quillard::qt
