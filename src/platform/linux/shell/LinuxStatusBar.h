#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QtWidgets/QMenu>

#include "foundation/UserTexts.h"
#include "platform/process/Application.h"
#include "platform/shell/StatusItem.h"

namespace quillard::desktop {

// The desktop's tray, over the bus where that is how trays are reached, and in the classic way otherwise. Where a
// desktop has neither, items wait for one, and everything else goes on. Made inside the life of Qt's application
// object; asked for an item or a menu only where that one has windows (a QApplication).
class LinuxStatusBar final : public platform::StatusBar {
 public:
  explicit LinuxStatusBar(const UserTexts& texts = {}) : texts(texts) {}

  // A desktop of Linux has no menu bar for applications: the menu stands in the items' own menus, under the entry
  // that does what a click does. Replaces the one set before. `onChoice` does what an item is for.
  void setApplicationMenu(const std::vector<platform::ApplicationMenuItem>& items,
                          const std::function<void(const platform::ApplicationMenuItem&)>& onChoice);

  [[nodiscard]] std::unique_ptr<platform::StatusItem> makeStatusItem(double length,
                                                                     std::function<void()> onClick) override;

 private:
  QMenu& menu();

  const UserTexts texts;
  std::unique_ptr<QMenu> applicationMenu;  // Never shown itself. Empty until it is asked for.
};

}  // namespace quillard::desktop
