#include "platform/qt/window/QtStatusWindowView.h"

#include "platform/qt/window/AccessibleRoles.h"
#include "platform/qt/window/QtStatusWindowViews.h"

namespace quillard::qt {

std::unique_ptr<StatusWindowView> QtStatusWindowViews::makeStatusWindowView(StatusWindowEvents events) {
  return std::make_unique<QtStatusWindowView>(std::move(events), watchColorScheme);
}

QtStatusWindowView::QtStatusWindowView(StatusWindowEvents events, WatchColorScheme watchColorScheme)
    : events(std::move(events)) {
  installAccessibleRoles();
  if (!watchColorScheme) return;
  schemeWatch = watchColorScheme([this](ColorScheme chosen) {
    scheme = chosen;
    if (window) window->setColorScheme(chosen);
  });
}

QtStatusWindowView::~QtStatusWindowView() { delete window; }

void QtStatusWindowView::setContent(const StatusWindowContent& content) {
  if (content == shownContent) return;  // Most refreshes bring nothing new.
  shownContent = content;
  if (window) window->setContent(shownContent);
}

StatusWindow& QtStatusWindowView::openWindow() {
  if (window) return *window;
  StatusWindowEvents own = events;
  own.onWillClose = [this] {
    letGoOfWindow();
    if (events.onWillClose) events.onWillClose();
  };
  window = new StatusWindow(std::move(own), scheme);
  window->setContent(shownContent);
  if (lastGeometry.isValid()) {
    window->setGeometry(lastGeometry);
  } else {
    window->takeComfortableSize();
  }
  return *window;
}

// Its own events may be under way, so it goes after them.
void QtStatusWindowView::letGoOfWindow() {
  if (!window) return;
  lastGeometry = window->normalGeometry();
  window->hide();
  window->deleteLater();
  window = nullptr;
}

void QtStatusWindowView::fitToScreen() { openWindow().fitToScreen(); }

void QtStatusWindowView::show() { openWindow().comeToFront(); }

void QtStatusWindowView::makeWay() {
  if (isVisible()) window->makeWay();
}

void QtStatusWindowView::close() { letGoOfWindow(); }

bool QtStatusWindowView::isVisible() const { return window && window->isVisible(); }

void QtStatusWindowView::updateAppearance() {
  if (window) window->updateAppearance();
}

void QtStatusWindowView::popUpMenu(StatusWindowButton button, const std::vector<MenuItemContent>& items,
                                   std::function<void(std::size_t)> onChoice) {
  if (window) window->popUpMenu(button, items, onChoice);
}

void QtStatusWindowView::askForText(const TextQuestion& question, TakeText take) {
  if (window) window->askForText(question, std::move(take));
}

}  // namespace quillard::qt
