#include "platform/qt/window/AccessibleRoles.h"

#include <QtWidgets/QAccessibleWidget>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>

#include "platform/qt/window/CodeView.h"
#include "platform/qt/window/StatusWindow.h"

namespace quillard::qt {
namespace {

// Lists an open menu among what is in the window, where Qt leaves it out: it could be left, but not be found.
class AccessibleWindow final : public QAccessibleWidget {
 public:
  explicit AccessibleWindow(QWidget* window) : QAccessibleWidget(window, QAccessible::Window) {}

  [[nodiscard]] int childCount() const override { return QAccessibleWidget::childCount() + (openMenu() ? 1 : 0); }
  [[nodiscard]] QAccessibleInterface* child(int index) const override {
    const bool isMenu = openMenu() && index == QAccessibleWidget::childCount();
    return isMenu ? QAccessible::queryAccessibleInterface(openMenu()) : QAccessibleWidget::child(index);
  }
  [[nodiscard]] int indexOfChild(const QAccessibleInterface* wanted) const override {
    const bool isMenu = wanted && openMenu() && wanted->object() == openMenu();
    return isMenu ? QAccessibleWidget::childCount() : QAccessibleWidget::indexOfChild(wanted);
  }

 private:
  [[nodiscard]] QMenu* openMenu() const {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    return menu && menu->parent() == object() ? menu : nullptr;
  }
};

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
  if (auto* card = dynamic_cast<CardView*>(object)) return new QAccessibleWidget(card, QAccessible::Grouping);
  if (auto* window = dynamic_cast<StatusWindow*>(object)) return new AccessibleWindow(window);
  if (auto* code = dynamic_cast<CodeView*>(object)) return new QAccessibleWidget(code, QAccessible::Graphic);
  return nullptr;
}

}  // namespace

void installAccessibleRoles() { QAccessible::installFactory(makeAccessible); }

}  // namespace quillard::qt
