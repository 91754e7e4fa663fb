#include "platform/qt/window/CardView.h"

#include <QtGui/QPainter>
#include <QtWidgets/QAccessibleWidget>

#include "platform/qt/window/CodeView.h"

namespace quillard::qt {
namespace {

constexpr double kRadius = 14;

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
  if (auto* card = dynamic_cast<CardView*>(object)) return new QAccessibleWidget(card, QAccessible::Grouping);
  if (auto* code = dynamic_cast<CodeView*>(object)) return new QAccessibleWidget(code, QAccessible::Graphic);
  return nullptr;
}

}  // namespace

void CardView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter{this};
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen{palette().color(QPalette::Mid), 1});
  painter.setBrush(palette().color(QPalette::Base));
  painter.drawRoundedRect(QRectF{rect()}.adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
}

void installAccessibleRoles() { QAccessible::installFactory(makeAccessible); }

}  // namespace quillard::qt
