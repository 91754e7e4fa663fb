#include "platform/qt/window/PopUpMenu.h"

#include <QtWidgets/QMenu>

#include "platform/qt/window/MenuStyle.h"
#include "platform/qt/window/WrappedText.h"

namespace quillard::qt {
namespace {

constexpr int kDistance = 4;

}  // namespace

void popUpMenu(ActionButton& anchor, const std::vector<MenuItemContent>& items,
               const std::function<void(std::size_t)>& onChoice) {
  auto* menu = new QMenu(anchor.window());
  menu->setAttribute(Qt::WA_DeleteOnClose);
  auto* style = new MenuStyle;
  style->setParent(menu);  // Styles are not owned by what they draw.
  menu->setStyle(style);
  menu->setPalette(anchor.window()->palette());
  menu->setFont(fontFor(TextStyle::body));
  menu->setAccessibleName(anchor.accessibleName());
  for (std::size_t index = 0; index < items.size(); ++index) {
    const auto& item = items[index];
    if (item.title.empty()) {
      menu->addSeparator();
      continue;
    }
    auto* action = menu->addAction(plainTitle(item.title));
    action->setEnabled(item.isEnabled);
    // A press by an assistive program leaves the menu open, unlike a click.
    QObject::connect(action, &QAction::triggered, menu, [onChoice, index, menu] {
      menu->close();
      if (onChoice) onChoice(index);
    });
  }
  const QRect body =
      anchor.rect().adjusted(ActionButton::kRing, ActionButton::kRing, -ActionButton::kRing, -ActionButton::kRing);
  menu->popup(anchor.mapToGlobal(QPoint{body.left(), body.top() + body.height() + kDistance}));
}

}  // namespace quillard::qt
