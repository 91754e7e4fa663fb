#pragma once

#include <functional>
#include <vector>

#include <QtCore/QPointer>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QWidget>

#include "platform/qt/window/DesktopColorScheme.h"
#include "platform/qt/window/StatusPage.h"
#include "platform/qt/window/TextField.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// The window itself: the page, a scroll bar where the screen is too small for it, and the keyboard.
class StatusWindow final : public QWidget {
 public:
  StatusWindow(StatusWindowEvents events, ColorScheme scheme);

  void setContent(const StatusWindowContent& content);
  // The user's choice for the desktop; told like any change of appearance.
  void setColorScheme(ColorScheme chosen);
  // The size that shows all, or as much of it as the screen holds.
  void takeComfortableSize();
  void fitToScreen();
  void comeToFront();
  // Behind all others. No client of Wayland may go there: in such a session it is minimised, or closed where nothing
  // is ever minimised.
  void makeWay();
  void updateAppearance();
  void popUpMenu(StatusWindowButton button, const std::vector<MenuItemContent>& items,
                 const std::function<void(std::size_t)>& onChoice);
  void askForText(const TextQuestion& question, TakeText take);

 protected:
  bool event(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void layOut();
  void connectButtons();
  void keepFocusInView();
  void noticeAppearance();
  [[nodiscard]] QRect screenRoom() const;
  [[nodiscard]] ActionButton* buttonFor(StatusWindowButton identity) const;

  const StatusWindowEvents events;
  ColorScheme scheme;
  QScrollArea* scrollView;
  StatusPage* page;
  QPointer<TextField> field;  // Null: none is open.
  QPalette knownPalette;      // As windowPalette() made it.
  QFont knownFont;
};

}  // namespace quillard::qt
