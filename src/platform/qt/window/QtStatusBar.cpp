#include "platform/qt/window/QtStatusBar.h"

#include "platform/qt/window/QtStatusItem.h"
#include "platform/qt/window/WrappedText.h"

namespace quillard::qt {

std::unique_ptr<platform::StatusItem> QtStatusBar::makeStatusItem(double length, std::function<void()> onClick) {
  auto item = std::make_unique<QtStatusItem>(&applicationMenu, std::move(onClick));
  item->setLength(length);
  return item;
}

void QtStatusBar::setApplicationMenu(const std::vector<platform::ApplicationMenuItem>& items,
                                     const std::function<void(const platform::ApplicationMenuItem&)>& onChoice) {
  applicationMenu.clear();
  for (const auto& item : items) {
    if (item.title.empty()) {
      applicationMenu.addSeparator();
      continue;
    }
    auto* action = applicationMenu.addAction(plainTitle(item.title));
    action->setEnabled(item.isEnabled);
    QObject::connect(action, &QAction::triggered, &applicationMenu, [item, onChoice] {
      if (onChoice) onChoice(item);
    });
  }
}

}  // namespace quillard::qt
