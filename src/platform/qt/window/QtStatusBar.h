#pragma once

#include <functional>
#include <vector>

#include <QtWidgets/QMenu>

#include "platform/process/Application.h"
#include "platform/shell/StatusItem.h"

namespace quillard::qt {

// The menu bar on macOS; elsewhere the desktop's tray, over the bus where that is how trays are reached, and in the
// classic way otherwise. Where a desktop has neither, items wait unseen, and everything else goes on.
class QtStatusBar final : public platform::StatusBar {
 public:
  // Where there is no menu bar to show the application's menu in, it stands in the items' own menus, under the entry
  // that does what a click does. Replaces the one set before. `onChoice` does what an item is for.
  void setApplicationMenu(const std::vector<platform::ApplicationMenuItem>& items,
                          const std::function<void(const platform::ApplicationMenuItem&)>& onChoice);

  [[nodiscard]] std::unique_ptr<platform::StatusItem> makeStatusItem(double length,
                                                                     std::function<void()> onClick) override;

 private:
  QMenu applicationMenu;  // Never shown itself.
};

}  // namespace quillard::qt
