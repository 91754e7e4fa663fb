#include "platform/qt/window/ActionButton.h"

#include <algorithm>

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>

#include "platform/qt/window/WindowPalette.h"
#include "platform/qt/window/WrappedText.h"

namespace quillard::qt {
namespace {

constexpr int kSidePadding = 14;
constexpr int kTopPadding = 7;
constexpr int kSmallestWidth = 76;
constexpr int kRadius = 8;
constexpr double kRingWidth = 2;
constexpr double kDisabledStrength = 0.45;

}  // namespace

ActionButton::ActionButton(QWidget* parent, Prominence prominence, StatusWindowButton identity)
    : QPushButton(parent), identity(identity), prominence(prominence) {
  setFocusPolicy(Qt::StrongFocus);
  setFont(fontFor(TextStyle::button));
  hide();
}

void ActionButton::setContent(const std::optional<ButtonContent>& content, const std::string& context) {
  if (content) {
    title = QString::fromStdString(content->title);
    setText(plainTitle(content->title));
    setAccessibleName(title);
    setAccessibleDescription(QString::fromStdString(context));
    setEnabled(content->isEnabled);
    update();
  }
  setVisible(content.has_value());
}

int ActionButton::naturalWidth() const {
  return std::max(kSmallestWidth, qt::naturalWidth(title, font()) + 2 * kSidePadding) + 2 * kRing;
}

void ActionButton::updateFont() { setFont(fontFor(TextStyle::button)); }

int ActionButton::heightForWidth(int width) const {
  const int textWidth = width - 2 * (kSidePadding + kRing);
  return WrappedText{title, font(), textWidth}.height() + 2 * (kTopPadding + kRing);
}

QSize ActionButton::sizeHint() const { return {naturalWidth(), heightForWidth(naturalWidth())}; }

QColor ActionButton::groundColor() const {
  const bool isPrimary = prominence == Prominence::primary;
  const QColor plain = palette().color(isPrimary ? QPalette::Highlight : QPalette::Button);
  if (!isEnabled()) return mixed(palette().color(QPalette::Base), plain, kDisabledStrength);
  const double share = isDown() ? 0.2 : underMouse() ? 0.09 : 0;
  return mixed(plain, palette().color(isPrimary ? QPalette::HighlightedText : QPalette::ButtonText), share);
}

void ActionButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  painter.setRenderHint(QPainter::Antialiasing);
  const QRect body = rect().adjusted(kRing, kRing, -kRing, -kRing);
  const QColor ground = groundColor();
  painter.setPen(Qt::NoPen);
  painter.setBrush(ground);
  painter.drawRoundedRect(body, kRadius, kRadius);
  if (showsRing) drawRing(painter);
  QColor ink = palette().color(prominence == Prominence::primary ? QPalette::HighlightedText : QPalette::ButtonText);
  if (!isEnabled()) ink = mixed(ground, ink, 0.65);
  painter.setPen(ink);
  const WrappedText text{title, font(), body.width() - 2 * kSidePadding, Qt::AlignHCenter};
  text.draw(painter, QPointF{double(body.x() + kSidePadding), body.y() + (body.height() - text.height()) / 2.0});
}

void ActionButton::drawRing(QPainter& painter) const {
  const double inset = kRingWidth / 2;
  painter.setPen(QPen{palette().color(QPalette::Link), kRingWidth});
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF{rect()}.adjusted(inset, inset, -inset, -inset), kRadius + 2, kRadius + 2);
}

void ActionButton::keyPressEvent(QKeyEvent* event) {
  const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (isEnter && !event->isAutoRepeat()) {
    click();
  } else {
    QPushButton::keyPressEvent(event);
  }
}

void ActionButton::focusInEvent(QFocusEvent* event) {
  showsRing = event->reason() != Qt::MouseFocusReason;
  QPushButton::focusInEvent(event);
  update();
}

void ActionButton::focusOutEvent(QFocusEvent* event) {
  showsRing = false;
  QPushButton::focusOutEvent(event);
  update();
}

void ActionButton::enterEvent(QEnterEvent* event) {
  QPushButton::enterEvent(event);
  update();
}

void ActionButton::leaveEvent(QEvent* event) {
  QPushButton::leaveEvent(event);
  update();
}

}  // namespace quillard::qt
