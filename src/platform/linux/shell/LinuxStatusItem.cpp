#include "platform/linux/shell/LinuxStatusItem.h"

#include <QtCore/QEvent>
#include <QtWidgets/QApplication>

#include "platform/linux/shell/TrayInk.h"

namespace quillard::desktop {
namespace {

IconInk currentInk() { return trayInk(qgetenv("XDG_CURRENT_DESKTOP").toStdString(), QApplication::palette()); }

}  // namespace

LinuxStatusItem::LinuxStatusItem(QMenu* applicationMenu, std::string openTitle, std::function<void()> onClick)
    : onClick(std::move(onClick)), menu(applicationMenu, std::move(openTitle), this->onClick) {
  qApp->installEventFilter(this);
  watch = TrayWatch::start([this] { appear(); });
}

LinuxStatusItem::~LinuxStatusItem() {
  if (icon) icon->hide();
}

void LinuxStatusItem::appear() {
  icon = new QSystemTrayIcon(this);
  connect(icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger && onClick) onClick();
  });
  draw();
  icon->setToolTip(toolTip);
  icon->setContextMenu(&menu);
  icon->show();
}

void LinuxStatusItem::draw() {
  if (icon) icon->setIcon(templateImageIcon(image, currentInk()));
}

void LinuxStatusItem::setLength(double /*points*/) {}

void LinuxStatusItem::setImage(const TemplateImage& newImage) {
  if (newImage == image) return;
  image = newImage;
  draw();
}

void LinuxStatusItem::setToolTip(const std::string& text) {
  toolTip = QString::fromStdString(text);
  if (icon) icon->setToolTip(toolTip);
}

bool LinuxStatusItem::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) draw();
  return QObject::eventFilter(watched, event);
}

}  // namespace quillard::desktop
