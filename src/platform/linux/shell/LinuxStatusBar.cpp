#include "platform/linux/shell/LinuxStatusBar.h"

#include "platform/linux/shell/LinuxStatusItem.h"
#include "platform/qt/window/WrappedText.h"

namespace quillard::desktop {

QMenu& LinuxStatusBar::menu() {
  if (!applicationMenu) applicationMenu = std::make_unique<QMenu>();
  return *applicationMenu;
}

std::unique_ptr<platform::StatusItem> LinuxStatusBar::makeStatusItem(double length, std::function<void()> onClick) {
  auto item = std::make_unique<LinuxStatusItem>(&menu(), texts("Open Quillard"), std::move(onClick));
  item->setLength(length);
  return item;
}

void LinuxStatusBar::setApplicationMenu(const std::vector<platform::ApplicationMenuItem>& items,
                                        const std::function<void(const platform::ApplicationMenuItem&)>& onChoice) {
  auto& menu = this->menu();
  menu.clear();
  for (const auto& item : items) {
    if (item.title.empty()) {
      menu.addSeparator();
      continue;
    }
    auto* action = menu.addAction(qt::plainTitle(item.title));
    action->setEnabled(item.isEnabled);
    QObject::connect(action, &QAction::triggered, &menu, [item, onChoice] {
      if (onChoice) onChoice(item);
    });
  }
}

}  // namespace quillard::desktop
