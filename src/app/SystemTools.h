#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include <QtCore/QCoreApplication>
#include <sys/ioctl.h>
#include <unistd.h>

#include "app/DesktopTools.h"
#include "app/DoctorExamination.h"
#include "app/DoctorReport.h"
#include "app/PairingTool.h"
#include "app/ToolRun.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {

// How the examination of one system differs from that of another.
struct DoctorTraits {
  platform::UserNotifications* notifications = nullptr;  // As in the examination's dependencies, as are the next three.
  std::function<bool()> hasDisplay = [] { return true; };
  std::function<std::vector<std::string>()> unseenPrograms = [] { return std::vector<std::string>{}; };
  bool isAskedAlone = true;
  // What the facts mean there.
  std::vector<DoctorCheck> (*checks)(const DoctorFacts&) = doctorChecks;
};

// The tools, over `System`: all that a program reaches of its system, a member for each interface. Main thread, within
// the life of Qt's application object.
template <class System>
class SystemTools {
 public:
  using Traits = DoctorTraits (*)(System&);

  // `output` outlives it.
  SystemTools(const Output& output, Traits traitsOf) : system(STDERR_FILENO), output(output), traitsOf(traitsOf) {}

  ExitCode run(const Command& command) { return std::visit(*this, command); }

  ExitCode operator()(const ScanOnce& command) { return scanOnce(command, view(), output); }
  ExitCode operator()(const RecordDesktop& command) { return recordDesktop(command, view(), output); }
  ExitCode operator()(const ExamineSetup& command) {
    PairingConfiguration pairing(pairingDependencies());
    const auto traits = traitsOf(system);
    DoctorExamination examination({.accessibility = system.accessibility,
                                   .bundle = system.bundle,
                                   .environment = system.environment,
                                   .httpSessions = system.httpSessions,
                                   .lockFiles = system.lockFiles,
                                   .loginService = system.loginService,
                                   .secretStore = system.secretStore,
                                   .notifications = traits.notifications,
                                   .pairing = pairing,
                                   .mainThread = system.executors.mainThread(),
                                   .hasDisplay = traits.hasDisplay,
                                   .unseenPrograms = traits.unseenPrograms,
                                   .isAskedAlone = traits.isAskedAlone});
    std::vector<DoctorCheck> checks;
    examination.start([&](const DoctorFacts& facts) {
      checks = traits.checks(facts);
      QCoreApplication::exit();
    });
    QCoreApplication::exec();
    output.print(command.asJson ? doctorJson(checks, QUILLARD_VERSION) : doctorText(checks));
    return exitCode(checks);
  }
  ExitCode operator()(const ShowPairingCode& command) {
    PairingConfiguration pairing(pairingDependencies());
    return showPairingCode(command, terminalFacts(), pairing, system.secretStore, output);
  }
  // No tools.
  ExitCode operator()(const RunAgent&) { return ExitCode::wrongUsage; }
  ExitCode operator()(const SaySomething&) { return ExitCode::wrongUsage; }

 private:
  DesktopView view() {
    return {.accessibility = system.accessibility,
            .workspace = system.workspace,
            .windowList = system.windowList,
            .clock = system.clock,
            .environment = system.environment,
            .console = system.console,
            .random = system.random,
            .userDefaults = system.userDefaults,
            .ownProcessIdentifier = static_cast<std::int32_t>(::getpid())};
  }
  PairingDependencies pairingDependencies() {
    return {system.environment, system.bundle, system.secretStore, system.userDefaults, system.random, system.console};
  }
  static TerminalFacts terminalFacts() {
    TerminalFacts facts{.isTerminal = ::isatty(STDOUT_FILENO) == 1, .columns = {}};
    winsize size{};
    if (facts.isTerminal && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
      facts.columns = size.ws_col;
    }
    return facts;
  }

  System system;
  const Output& output;
  const Traits traitsOf;
};

// Runs the tool that `command` names, in an event loop of its own.
template <class System>
ExitCode runToolOver(const Command& command, char* programName, const Output& output,
                     DoctorTraits (*traitsOf)(System&)) {
  int count = 1;
  char* arguments[] = {programName, nullptr};
  const QCoreApplication loop(count, arguments);
  return SystemTools<System>(output, traitsOf).run(command);
}

}  // namespace quillard::app
