#include "platform/qt/QtApplication.h"

#include <utility>

#include <QtCore/QCoreApplication>
#include <QtGui/QGuiApplication>
#include <QtGui/QWindow>

namespace quillard::qt {

using platform::ApplicationMenuAction;
using platform::ApplicationMenuItem;

std::int32_t QtApplication::processIdentifier() const {
  return static_cast<std::int32_t>(QCoreApplication::applicationPid());
}

void QtApplication::setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) {
  loopEnd.setDelegate(delegate);
  mainThread.post([delegate = std::move(delegate)] {
    if (const auto told = delegate.lock()) told->applicationDidFinishLaunching();
  });
}

void QtApplication::setActivationPolicy(platform::ActivationPolicy policy) {
  itsPolicy = policy;
  if (onActivationPolicy) onActivationPolicy();
}

void QtApplication::activateIgnoringOtherApplications() {
  for (QWindow* const window : QGuiApplication::topLevelWindows()) {
    if (!window->isVisible() || window->type() != Qt::Window) continue;
    window->setWindowStates(window->windowStates() & ~Qt::WindowMinimized);
    window->raise();
    window->requestActivate();
  }
}

void QtApplication::setApplicationMenu(const std::string& title, std::vector<ApplicationMenuItem> items) {
  menu = {title, std::move(items)};
  if (onMenuChange) onMenuChange();
}

void QtApplication::choose(const ApplicationMenuItem& item) {
  if (!item.isEnabled || item.title.empty()) return;
  switch (item.action) {
    case ApplicationMenuAction::standardAboutPanel:
      if (onAboutPanel) onAboutPanel();
      break;
    case ApplicationMenuAction::custom:
      if (item.onChoice) item.onChoice();
      break;
    case ApplicationMenuAction::terminate:
      terminate();
      break;
  }
}

}  // namespace quillard::qt
