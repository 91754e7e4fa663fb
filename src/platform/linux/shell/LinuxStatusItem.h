#pragma once

#include <QtWidgets/QSystemTrayIcon>

#include "platform/linux/shell/TrayMenu.h"
#include "platform/linux/shell/TrayWatch.h"
#include "platform/shell/StatusItem.h"

namespace quillard::desktop {

// One icon in the tray, from when there is a tray.
class LinuxStatusItem final : public QObject, public platform::StatusItem {
 public:
  // `openTitle`: of the entry that does what a click does.
  LinuxStatusItem(QMenu* applicationMenu, std::string openTitle, std::function<void()> onClick);
  ~LinuxStatusItem() override;

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
  TrayMenu menu;
  QSystemTrayIcon* icon = nullptr;  // A child; null until there is a tray.
  std::unique_ptr<TrayWatch> watch;
};

}  // namespace quillard::desktop
