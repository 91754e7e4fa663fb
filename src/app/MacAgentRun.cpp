#include <memory>

#include <QtWidgets/QApplication>
#include <unistd.h>

#include "agent/AppDelegate.h"
#include "app/AgentRun.h"
#include "app/MacPlatform.h"
#include "platform/macos/objc/UninterruptedWork.h"
#include "platform/qt/TerminationSignals.h"

namespace quillard::app {
namespace {

void describeApplication() {
  QCoreApplication::setApplicationName(QStringLiteral("quillard"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLARD_VERSION));
  QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillard"));
  QGuiApplication::setQuitOnLastWindowClosed(false);
}

}  // namespace

// Prints no error: where there is no session with a screen, Qt itself says so.
ExitCode runAgent(char* programName, const Output& /*output*/) {
  macos::MacApplication::keepQtFromTakingTheFocus();
  int count = 1;
  char* arguments[] = {programName, nullptr};
  const QApplication loop(count, arguments);
  const macos::UninterruptedWork work;
  describeApplication();
  MacPlatform dependencies(STDOUT_FILENO);
  auto& application = dependencies.application;
  application.setActivationPolicy(platform::ActivationPolicy::accessory);
  const auto agent = std::make_shared<AppDelegate>(dependencies.platform(), dependencies.statusWindowViews);
  const qt::TerminationSignals termination([&application] { application.terminate(); });
  application.setDelegate(agent);
  return QCoreApplication::exec() == 0 ? ExitCode::fine : ExitCode::problemFound;
}

}  // namespace quillard::app
