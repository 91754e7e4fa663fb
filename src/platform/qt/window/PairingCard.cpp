#include "platform/qt/window/PairingCard.h"

#include <algorithm>

#include "platform/qt/window/WindowPalette.h"

namespace quillard::qt {
namespace {

constexpr int kPadding = 20;
constexpr int kGap = 10;
constexpr int kCodeGap = 16;
constexpr int kMostSpread = 48;
constexpr int kPageCode = 92;
// From here on the texts stand beside the code instead of around it.
constexpr int kWideCard = 520;
// The ground that the brand's bright colours are readable on, whether the desktop is light or dark.
constexpr QRgb kInk = 0xff10171a;

}  // namespace

PairingCard::PairingCard(QWidget* parent)
    : CardView(parent),
      pairingTitleLabel(new WrappedLabel(this, TextStyle::cardTitle)),
      pairStatusLabel(new PillView(this)),
      pairingDetailLabel(new WrappedLabel(this, TextStyle::body)),
      pageCodeView(new CodeView(this)),
      pageCaptionLabel(new WrappedLabel(this, TextStyle::body)),
      qrImageView(new CodeView(this)),
      qrCaptionLabel(new WrappedLabel(this, TextStyle::small, QPalette::PlaceholderText)),
      pairingActionButton(new ActionButton(this, Prominence::primary, StatusWindowButton::pairingAction)),
      pairAnotherButton(new ActionButton(this, Prominence::primary, StatusWindowButton::pairAnother)),
      unpairPhoneButton(new ActionButton(this, Prominence::secondary, StatusWindowButton::unpairPhone)),
      pairingButtonStack({pairingActionButton, pairAnotherButton, unpairPhoneButton}) {}

void PairingCard::setContent(const StatusWindowContent& content) {
  status = content.pairingStatus;
  statusTint = content.pairingStatusTint;
  pairingTitleLabel->setContent(content.pairingTitle);
  pairingDetailLabel->setContent(content.pairingDetail);
  qrCaptionLabel->setContent(content.pairingCaption);
  qrImageView->setContent(content.pairingImage ? &content.pairingImage->squares() : nullptr, content.placeholderSymbol,
                          content.pairingImage ? content.codeDescription : content.placeholderDescription);
  qrImageView->setAccessibleDescription(QString::fromStdString(content.pairingCaption));
  pageCaptionLabel->setContent(content.pageCaption);
  pageCodeView->setLargest(kPageCode);
  pageCodeView->setContent(content.pageImage ? &content.pageImage->squares() : nullptr, "", content.pageDescription);
  pageCodeView->setAccessibleDescription(QString::fromStdString(content.pageCaption));
  pairingActionButton->setContent(content.pairingActionButton, content.pairingTitle);
  pairAnotherButton->setContent(content.pairAnotherButton, content.pairingTitle);
  unpairPhoneButton->setContent(content.unpairPhoneButton, content.pairingTitle);
  setAccessibleName(QString::fromStdString(content.pairingTitle));
  setAccessibleDescription(QString::fromStdString(content.pairingStatus + ". " + content.pairingDetail));
  showStatus();
}

void PairingCard::showStatus() {
  const QColor ground = statusTint.color ? QColor::fromRgb(kInk) : palette().color(QPalette::Midlight);
  pairStatusLabel->setContent(status, ground, toQColor(statusTint, palette()));
}

void PairingCard::updateAppearance() {
  for (WrappedLabel* label : {pairingTitleLabel, static_cast<WrappedLabel*>(pairStatusLabel), pairingDetailLabel,
                              pageCaptionLabel, qrCaptionLabel}) {
    label->updateFont();
  }
  for (auto* button : {pairingActionButton, pairAnotherButton, unpairPhoneButton}) button->updateFont();
  showStatus();
  update();
}

int PairingCard::arrange(QSize size, Placing placing) {
  const bool isBeside = size.width() >= kWideCard && !qrImageView->isHidden();
  return isBeside ? arrangeBeside(size, placing) : arrangeBelow(size, placing);
}

int PairingCard::arrangeBelow(QSize size, Placing placing) {
  const int width = size.width() - 2 * kPadding;
  const int texts = arrangeTexts({kPadding, kPadding, width, 0}, placing);
  const int code = arrangeCode({kPadding, 0, width, 0}, Placing::measure);
  const int caption = arrangeCaption({kPadding, 0, width, 0}, Qt::AlignHCenter, Placing::measure);
  const int middle = code + (code > 0 && caption > 0 ? kGap : 0) + caption;
  const int height = kPadding + texts + (middle > 0 ? kCodeGap : 0) + middle + kPadding;
  if (placing == Placing::place) {
    const int spare = std::max(0, size.height() - height);
    const int top = kPadding + texts + kCodeGap + std::min(spare / 2, kMostSpread);
    arrangeCode({kPadding, top, width, 0}, Placing::place);
    arrangeCaption({kPadding, top + code + (code > 0 ? kGap : 0), width, 0}, Qt::AlignHCenter, Placing::place);
  }
  return height;
}

int PairingCard::arrangeBeside(QSize size, Placing placing) {
  const int side = qrImageView->sideFor(size.width() / 2);
  const int x = kPadding + side + kPadding;
  const int width = size.width() - x - kPadding;
  const int texts = arrangeTexts({x, 0, width, 0}, Placing::measure);
  const int caption = arrangeCaption({x, 0, width, 0}, Qt::AlignLeft, Placing::measure);
  const int right = texts + (caption > 0 ? kCodeGap + caption : 0);
  const int height = std::max(side, right) + 2 * kPadding;
  if (placing == Placing::place) {
    const int total = std::max(height, size.height());
    qrImageView->setGeometry(kPadding, (total - side) / 2, side, side);
    const int top = (total - right) / 2;
    arrangeTexts({x, top, width, 0}, Placing::place);
    arrangeCaption({x, top + texts + kCodeGap, width, 0}, Qt::AlignLeft, Placing::place);
  }
  return height;
}

// Title and state in one line where they fit, then the detail.
int PairingCard::arrangeTexts(QRect room, Placing placing) {
  const int pill = pairStatusLabel->isHidden() ? 0 : std::min(pairStatusLabel->naturalWidth(), room.width());
  const int pillHeight = pill > 0 ? pairStatusLabel->heightForWidth(pill) : 0;
  const bool isOneLine = pairingTitleLabel->naturalWidth() + kGap + pill <= room.width();
  const int titleWidth = isOneLine ? room.width() - kGap - pill : room.width();
  const int titleHeight = pairingTitleLabel->isHidden() ? 0 : pairingTitleLabel->heightForWidth(titleWidth);
  const int line = isOneLine ? std::max(titleHeight, pillHeight) : titleHeight + kGap + pillHeight;
  const int detailHeight = pairingDetailLabel->isHidden() ? 0 : pairingDetailLabel->heightForWidth(room.width());
  if (placing == Placing::place) {
    const int titleTop = isOneLine ? room.y() + (line - titleHeight) / 2 : room.y();
    pairingTitleLabel->setGeometry(room.x(), titleTop, titleWidth, titleHeight);
    const int pillX = isOneLine ? room.x() + room.width() - pill : room.x();
    const int pillTop = isOneLine ? room.y() + (line - pillHeight) / 2 : room.y() + titleHeight + kGap;
    pairStatusLabel->setGeometry(pillX, pillTop, pill, pillHeight);
    pairingDetailLabel->setGeometry(room.x(), room.y() + line + kGap, room.width(), detailHeight);
  }
  const int above = line + (detailHeight > 0 ? kGap + detailHeight : 0);
  const int page = arrangePage({room.x(), room.y() + above + kGap, room.width(), 0}, placing);
  return above + (page > 0 ? kGap + page : 0);
}

// Where the page is: the small code, and the text to its right.
int PairingCard::arrangePage(QRect room, Placing placing) {
  if (pageCaptionLabel->isHidden()) return 0;
  const int side = pageCodeView->isHidden() ? 0 : pageCodeView->sideFor(room.width() / 3);
  const int x = side > 0 ? side + kGap : 0;
  const int text = pageCaptionLabel->heightForWidth(room.width() - x);
  const int height = std::max(side, text);
  if (placing == Placing::place) {
    if (side > 0) pageCodeView->setGeometry(room.x(), room.y() + (height - side) / 2, side, side);
    pageCaptionLabel->setGeometry(room.x() + x, room.y() + (height - text) / 2, room.width() - x, text);
  }
  return height;
}

int PairingCard::arrangeCode(QRect room, Placing placing) {
  if (qrImageView->isHidden()) return 0;
  const int side = qrImageView->sideFor(room.width());
  if (placing == Placing::place) {
    qrImageView->setGeometry(room.x() + (room.width() - side) / 2, room.y(), side, side);
  }
  return side;
}

// The caption of the code, and the buttons under it.
int PairingCard::arrangeCaption(QRect room, Qt::Alignment alignment, Placing placing) {
  qrCaptionLabel->setAlignment(alignment);
  const int height = qrCaptionLabel->isHidden() ? 0 : qrCaptionLabel->heightForWidth(room.width());
  if (placing == Placing::place) qrCaptionLabel->setGeometry(room.x(), room.y(), room.width(), height);
  if (pairingButtonStack.isEmpty()) return height;
  const int x = room.x() - (alignment & Qt::AlignLeft ? ActionButton::kRing : 0);
  const int top = height > 0 ? height + kGap : 0;
  return top + pairingButtonStack.arrange({x, room.y() + top}, room.width(), alignment, placing);
}

}  // namespace quillard::qt
