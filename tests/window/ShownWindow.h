#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QtGui/QPainter>
#include <QtGui/QPixmap>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollArea>

#include "platform/qt/window/StatusWindow.h"

namespace quillard::test {

enum class Theme { light, dark };

// The colours of a desktop, as it gives them to all windows.
inline QPalette desktopPalette(Theme theme) {
  const bool isDark = theme == Theme::dark;
  const QColor ground = isDark ? QColor{45, 45, 45} : QColor{239, 239, 239};
  const QColor ink = isDark ? QColor{235, 235, 235} : QColor{25, 25, 25};
  QPalette palette{ground};
  for (const auto role : {QPalette::Window, QPalette::Button, QPalette::Base}) palette.setColor(role, ground);
  for (const auto role : {QPalette::WindowText, QPalette::ButtonText, QPalette::Text}) palette.setColor(role, ink);
  return palette;
}

// The status window in one state, on a desktop of one theme.
class ShownWindow {
 public:
  explicit ShownWindow(const StatusWindowContent& content, Theme theme = Theme::light, int width = 960) {
    QApplication::setPalette(desktopPalette(theme));
    window = std::make_unique<qt::StatusWindow>(StatusWindowEvents{}, qt::ColorScheme::noPreference);
    window->setContent(content);
    takeWidth(width);
    window->comeToFront();
    settle();
  }

  qt::StatusWindow& operator*() { return *window; }
  qt::StatusWindow* operator->() { return window.get(); }
  // As high as its page is at that width.
  void takeWidth(int width) {
    window->resize(width, page().heightForWidth(width));
    settle();
  }
  [[nodiscard]] QWidget& page() const { return *window->findChild<QScrollArea*>()->widget(); }

  static void settle() {
    for (int turn = 0; turn < 3; ++turn) QApplication::processEvents();
  }

  // The window, and a menu that is open above it.
  QImage picture() {
    settle();
    const QPixmap shown = window->grab();
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu) return shown.toImage();
    const QRect menuArea{menu->pos() - window->pos(), menu->size()};
    QPixmap both{QRect{QPoint{0, 0}, shown.size()}.united(menuArea.adjusted(0, 0, 12, 12)).size()};
    both.fill(window->palette().color(QPalette::Window));
    QPainter painter{&both};
    painter.drawPixmap(0, 0, shown);
    painter.drawPixmap(menuArea.topLeft(), menu->grab());
    painter.end();
    return both.toImage();
  }

 private:
  std::unique_ptr<qt::StatusWindow> window;  // Made once the desktop has its theme.
};

}  // namespace quillard::test
