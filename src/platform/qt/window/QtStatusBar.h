#pragma once

#include <QtWidgets/QMenu>

#include "platform/StatusItem.h"

namespace quillard::qt {

// The menu bar on macOS; elsewhere the desktop's tray, over the bus where that is how trays are reached, and in the
// classic way otherwise. Where a desktop has neither, items wait unseen, and everything else goes on.
class QtStatusBar final : public platform::StatusBar {
 public:
  // `applicationMenu`: what an item's own menu offers besides opening the window; may be absent. It may change at any
  // time. Not owned.
  explicit QtStatusBar(QMenu* applicationMenu) : applicationMenu(applicationMenu) {}

  [[nodiscard]] std::unique_ptr<platform::StatusItem> makeStatusItem(double length,
                                                                     std::function<void()> onClick) override;

 private:
  QMenu* const applicationMenu;
};

}  // namespace quillard::qt
