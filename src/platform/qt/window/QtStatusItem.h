#pragma once

#include <QtWidgets/QSystemTrayIcon>

#include "platform/qt/window/TrayMenu.h"
#include "platform/qt/window/TrayWatch.h"
#include "platform/shell/StatusItem.h"

namespace quillard::qt {

// One icon in the tray, from when there is a tray.
class QtStatusItem final : public QObject, public platform::StatusItem {
 public:
  QtStatusItem(QMenu* applicationMenu, std::function<void()> onClick);
  ~QtStatusItem() override;

  // Trays give every icon a square, whose size is theirs to choose.
  void setLength(double points) override;
  void setImage(const TemplateImage& image) override;
  void setToolTip(const std::string& text) override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void appear();
  void draw();

  const std::function<void()> onClick;
  TemplateImage image;
  QString toolTip;
  std::unique_ptr<TrayMenu> menu;   // None in a menu bar, where a click opens the window at once.
  QSystemTrayIcon* icon = nullptr;  // A child; null until there is a tray.
  std::unique_ptr<TrayWatch> watch;
};

}  // namespace quillard::qt
