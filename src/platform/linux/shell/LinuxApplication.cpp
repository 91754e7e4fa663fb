#include "platform/linux/shell/LinuxApplication.h"

#include <utility>

#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>

#include "platform/linux/system/LinuxMemoryTrim.h"

namespace quillard::desktop {

using platform::ApplicationMenuAction;
using platform::ApplicationMenuItem;

namespace {

void showAboutPanel(const UserTexts& texts) {
  auto* const panel = new QMessageBox(
      QMessageBox::NoIcon, QString::fromStdString(texts("About Quillard")),
      QString::fromStdString(texts("Quillard %1\nApproval prompts of this computer, answered on your phone.",
                                   {QCoreApplication::applicationVersion().toStdString()})));
  panel->setAttribute(Qt::WA_DeleteOnClose);
  panel->setTextFormat(Qt::PlainText);
  panel->show();
}

}  // namespace

LinuxApplication::LinuxApplication(platform::SerialExecutor& mainThread, LinuxStatusBar& statusBar,
                                   const UserTexts& texts)
    : mainThread(mainThread), statusBar(statusBar), texts(texts), loopEnd(mainThread) {}

std::int32_t LinuxApplication::processIdentifier() const {
  return static_cast<std::int32_t>(QCoreApplication::applicationPid());
}

void LinuxApplication::setDelegate(std::weak_ptr<platform::ApplicationDelegate> delegate) {
  loopEnd.setDelegate(delegate);
  mainThread.post([delegate = std::move(delegate)] {
    if (const auto told = delegate.lock()) told->applicationDidFinishLaunching();
  });
}

void LinuxApplication::setActivationPolicy(platform::ActivationPolicy /*policy*/) {
  trim = mainThread.postAfter(kWindowHasSettled, trimMemory);
}

void LinuxApplication::activateIgnoringOtherApplications() {
  for (QWindow* const window : QGuiApplication::topLevelWindows()) {
    if (!window->isVisible() || window->type() != Qt::Window) continue;
    window->setWindowStates(window->windowStates() & ~Qt::WindowMinimized);
    window->raise();
    window->requestActivate();
  }
}

void LinuxApplication::setApplicationMenu(const std::string& /*title*/, std::vector<ApplicationMenuItem> items) {
  statusBar.setApplicationMenu(items, [this](const ApplicationMenuItem& item) { choose(item); });
}

void LinuxApplication::choose(const ApplicationMenuItem& item) {
  switch (item.action) {
    case ApplicationMenuAction::standardAboutPanel:
      showAboutPanel(texts);
      break;
    case ApplicationMenuAction::custom:
      if (item.onChoice) mainThread.post(item.onChoice);
      break;
    case ApplicationMenuAction::terminate:
      terminate();
      break;
  }
}

}  // namespace quillard::desktop
