#include "platform/linux/shell/TrayMenu.h"

#include <QtCore/QEvent>

namespace quillard::desktop {

TrayMenu::TrayMenu(QMenu* applicationMenu, std::string openTitle, std::function<void()> onOpen)
    : applicationMenu(applicationMenu), openTitle(std::move(openTitle)), onOpen(std::move(onOpen)) {
  if (applicationMenu) applicationMenu->installEventFilter(this);
  fill();
}

void TrayMenu::fill() {
  if (isFilling) return;
  isFilling = true;
  clear();  // Deletes what is ours; the application's own items are only taken out.
  auto* open = addAction(QString::fromStdString(openTitle));
  connect(open, &QAction::triggered, this, [this] {
    if (onOpen) onOpen();
  });
  setDefaultAction(open);
  if (applicationMenu && !applicationMenu->actions().isEmpty()) {
    addSeparator();
    addActions(applicationMenu->actions());
  }
  isFilling = false;
}

bool TrayMenu::eventFilter(QObject* watched, QEvent* event) {
  const bool isChange = event->type() == QEvent::ActionAdded || event->type() == QEvent::ActionRemoved;
  if (watched == applicationMenu && isChange) fill();
  return QMenu::eventFilter(watched, event);
}

}  // namespace quillard::desktop
