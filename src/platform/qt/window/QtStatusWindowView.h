#pragma once

#include <QtCore/QObject>
#include <QtCore/QRect>

#include "platform/qt/window/StatusWindow.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// The agent's window exists only while it is on screen, since its picture alone takes more memory than the rest of the
// agent's state: hidden, this remembers what it would show, and where.
class QtStatusWindowView final : public StatusWindowView {
 public:
  // `watchColorScheme`: null where Qt's colours tell it all.
  QtStatusWindowView(StatusWindowEvents events, WatchColorScheme watchColorScheme);
  ~QtStatusWindowView() override;

  void setContent(const StatusWindowContent& content) override;
  void fitToScreen() override;
  void show() override;
  void makeWay() override;
  void close() override;
  [[nodiscard]] bool isVisible() const override;
  void updateAppearance() override;
  void popUpMenu(StatusWindowButton button, const std::vector<MenuItemContent>& items,
                 std::function<void(std::size_t)> onChoice) override;
  void askForText(const TextQuestion& question, TakeText take) override;

 private:
  StatusWindow& openWindow();
  void letGoOfWindow();

  const StatusWindowEvents events;
  StatusWindowContent shownContent;
  QRect lastGeometry;  // Invalid: never shown.
  ColorScheme scheme = ColorScheme::noPreference;
  StatusWindow* window = nullptr;
  std::unique_ptr<DesktopColorScheme> schemeWatch;
};

}  // namespace quillard::qt
