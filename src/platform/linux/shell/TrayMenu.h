#pragma once

#include <functional>
#include <string>

#include <QtCore/QPointer>
#include <QtWidgets/QMenu>

namespace quillard::desktop {

// What a right click on the tray icon offers: the window first, since some trays have no other click than this menu,
// then whatever the application's menu holds at the time. That menu may change, and may go before this one.
class TrayMenu final : public QMenu {
 public:
  TrayMenu(QMenu* applicationMenu, std::string openTitle, std::function<void()> onOpen);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void fill();

  const QPointer<QMenu> applicationMenu;
  const std::string openTitle;
  std::function<void()> onOpen;
  bool isFilling = false;
};

}  // namespace quillard::desktop
