#include "app/AgentRun.h"

#include <memory>

#include <QtWidgets/QApplication>
#include <unistd.h>

#include "agent/AppDelegate.h"
#include "platform/qt/TerminationSignals.h"
#include "platform/qt/window/QtStatusWindowViews.h"

namespace quillard::app {
namespace {

void describeApplication() {
  QCoreApplication::setApplicationName(QStringLiteral("quillard"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLARD_VERSION));
  QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillard"));
  QGuiApplication::setDesktopFileName(QStringLiteral("com.quillard.agent"));
  QGuiApplication::setQuitOnLastWindowClosed(false);
}

}  // namespace

ExitCode runAgent(const System& system, char* programName, const Output& output) {
  if (const auto problem = system.prepareWindows()) {
    output.printError(*problem + "\n");
    return ExitCode::cannotDoHere;
  }
  int count = 1;
  char* arguments[] = {programName, nullptr};
  const QApplication loop(count, arguments);
  describeApplication();
  const auto opened = system.open(STDOUT_FILENO);
  opened.platform->prepareForAgent();
  const auto platform = opened.platform->platform();
  qt::QtStatusWindowViews statusWindowViews(system.watchColorScheme);
  const auto agent = std::make_shared<AppDelegate>(platform, statusWindowViews, opened.texts);
  const qt::TerminationSignals termination([&platform] { platform.application.terminate(); });
  platform.application.setDelegate(agent);
  return QCoreApplication::exec() == 0 ? ExitCode::fine : ExitCode::problemFound;
}

}  // namespace quillard::app
