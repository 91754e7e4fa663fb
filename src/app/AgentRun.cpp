#include "app/AgentRun.h"

#include <memory>
#include <optional>

#include <QtCore/QByteArray>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>
#include <unistd.h>

#include "agent/AppDelegate.h"
#include "app/LinuxSystem.h"
#include "app/MemoryTrim.h"
#include "app/RunningAgents.h"
#include "platform/Platform.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/TerminationSignals.h"
#include "platform/qt/window/QtStatusBar.h"
#include "platform/qt/window/QtStatusWindowViews.h"

namespace quillard::app {
namespace {

// An agent that ends sends a close message to its relay first.
constexpr Seconds kOtherAgentsTimeout{5};

// After the status window has come up, as it does at each start, or gone: its pages are drawn, or let go, by then, and
// the first scans are done.
constexpr Seconds kWindowHasSettled{4};

// Everything that the agent is handed.
struct AgentDependencies {
  LinuxSystem system{STDOUT_FILENO};
  qt::QtApplication application{system.executors.mainThread()};
  qt::QtStatusBar statusBar;
  qt::QtStatusWindowViews statusWindowViews;

  [[nodiscard]] platform::Platform platform() {
    return {.accessibility = system.accessibility,
            .application = application,
            .bundle = system.bundle,
            .calendar = system.calendar,
            .clock = system.clock,
            .console = system.console,
            .environment = system.environment,
            .executors = system.executors,
            .httpSessions = system.httpSessions,
            .lockFiles = system.lockFiles,
            .loginService = system.loginService,
            .random = system.random,
            .secretStore = system.secretStore,
            .statusBar = statusBar,
            .syntheticEvents = system.syntheticEvents,
            .updateService = system.updateService,
            .userDefaults = system.userDefaults,
            .userNotifications = system.notifications,
            .webSockets = system.webSockets,
            .windowList = system.windowList,
            .workspace = system.workspace};
  }
};

// The platform that Qt is to use for windows; absent: there is none here, and Qt would stop the process with an abort.
// The windows of this desktop are those of the X server, also where it is a guest of Wayland's. Without one, but within
// a Wayland session, the agent runs on, if need be without a window to be seen.
std::optional<QByteArray> windowPlatform() {
  const desktop::ProcessEnvironment environment;
  const auto requested = environment.value("QT_QPA_PLATFORM");
  if (requested && !requested->starts_with("xcb"))
    return QByteArray::fromStdString(*requested);  // Somebody knows better.
  if (x11::XcbWindows(environment.value("DISPLAY")).isAvailable()) return "xcb";
  if (environment.value("WAYLAND_DISPLAY")) return "wayland;offscreen";
  return std::nullopt;
}

void describeApplication() {
  QCoreApplication::setApplicationName(QStringLiteral("quillard"));
  QCoreApplication::setApplicationVersion(QStringLiteral(QUILLARD_VERSION));
  QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillard"));
  QGuiApplication::setDesktopFileName(QStringLiteral("com.quillard.agent"));
  QGuiApplication::setQuitOnLastWindowClosed(false);
}

void showAboutPanel() {
  auto* const panel =
      new QMessageBox(QMessageBox::NoIcon, QStringLiteral("About Quillard"),
                      QStringLiteral("Quillard %1\nApproval prompts of this computer, answered on your phone.")
                          .arg(QStringLiteral(QUILLARD_VERSION)));
  panel->setAttribute(Qt::WA_DeleteOnClose);
  panel->setTextFormat(Qt::PlainText);
  panel->show();
}

}  // namespace

ExitCode runAgent(char* programName, const Output& output) {
  const auto platform = windowPlatform();
  if (!platform) {
    output.printError("There is no X server, or it does not answer. DISPLAY says where it is.\n");
    return ExitCode::cannotDoHere;
  }
  qputenv("QT_QPA_PLATFORM", *platform);
  int count = 1;
  char* arguments[] = {programName, nullptr};
  const QApplication loop(count, arguments);
  describeApplication();
  AgentDependencies dependencies;
  platform::TaskHandle trim;
  // Asks again itself, but does not wait: without this, whoever starts a second agent would be left with none.
  endRunningAgents(dependencies.system.processes, dependencies.system.environment, kOtherAgentsTimeout);
  const auto agent = std::make_shared<AppDelegate>(dependencies.platform(), dependencies.statusWindowViews);
  auto& application = dependencies.application;
  application.setOnAboutPanel(showAboutPanel);
  application.setOnMenuChange([&dependencies] {
    dependencies.statusBar.setApplicationMenu(
        dependencies.application.applicationMenu().items,
        [&dependencies](const platform::ApplicationMenuItem& item) { dependencies.application.choose(item); });
  });
  application.setOnActivationPolicy([&trim, &mainThread = dependencies.system.executors.mainThread()] {
    trim = mainThread.postAfter(kWindowHasSettled, trimMemory);
  });
  if (const auto limitation = dependencies.system.windows.limitation()) {
    dependencies.system.console.writeLine(*limitation);
  }
  const qt::TerminationSignals termination([&application] { application.terminate(); });
  application.setDelegate(agent);
  return QCoreApplication::exec() == 0 ? ExitCode::fine : ExitCode::problemFound;
}

}  // namespace quillard::app
