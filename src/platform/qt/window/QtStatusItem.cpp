#include "platform/qt/window/QtStatusItem.h"

#include <QtCore/QEvent>
#include <QtWidgets/QApplication>

#include "platform/qt/window/TrayInk.h"

namespace quillard::qt {
namespace {

#ifdef Q_OS_MACOS
constexpr bool kIsMenuBar = true;
#else
constexpr bool kIsMenuBar = false;
#endif

// A menu bar colours the picture itself.
IconInk currentInk() {
  if (kIsMenuBar) return {.color = Qt::black, .halo = {}};
  return trayInk(qgetenv("XDG_CURRENT_DESKTOP").toStdString(), QApplication::palette());
}

}  // namespace

QtStatusItem::QtStatusItem(QMenu* applicationMenu, std::function<void()> onClick) : onClick(std::move(onClick)) {
  if (!kIsMenuBar) menu = std::make_unique<TrayMenu>(applicationMenu, this->onClick);
  qApp->installEventFilter(this);
  watch = TrayWatch::start([this] { appear(); });
}

QtStatusItem::~QtStatusItem() {
  if (icon) icon->hide();
}

void QtStatusItem::appear() {
  icon = new QSystemTrayIcon(this);
  connect(icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger && onClick) onClick();
  });
  draw();
  icon->setToolTip(toolTip);
  if (menu) icon->setContextMenu(menu.get());
  icon->show();
}

void QtStatusItem::draw() {
  if (icon) icon->setIcon(templateImageIcon(image, currentInk()));
}

void QtStatusItem::setLength(double /*points*/) {}

void QtStatusItem::setImage(const TemplateImage& newImage) {
  if (newImage == image) return;
  image = newImage;
  draw();
}

void QtStatusItem::setToolTip(const std::string& text) {
  toolTip = QString::fromStdString(text);
  if (icon) icon->setToolTip(toolTip);
}

bool QtStatusItem::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) draw();
  return QObject::eventFilter(watched, event);
}

}  // namespace quillard::qt
