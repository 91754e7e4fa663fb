#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <QtCore/QCoreApplication>
#include <sys/ioctl.h>
#include <unistd.h>

#include "app/DesktopTools.h"
#include "app/DoctorExamination.h"
#include "app/MacDoctorChecks.h"
#include "app/MacSystem.h"
#include "app/PairingTool.h"
#include "app/ToolRun.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {
namespace {

DesktopView viewOf(MacSystem& system) {
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

PairingSurroundings pairingOf(MacSystem& system) {
  return {system.environment,  system.bundle, system.propertyLists, system.secretStore,
          system.userDefaults, system.random, system.console};
}

TerminalFacts terminalFacts() {
  TerminalFacts facts{.isTerminal = ::isatty(STDOUT_FILENO) == 1, .columns = {}};
  winsize size{};
  if (facts.isTerminal && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    facts.columns = size.ws_col;
  }
  return facts;
}

// What the system says of permissions, it says of the program that is responsible: of this one when the system itself
// has started it, otherwise of the one that has.
bool isStartedBySystem() {
  constexpr pid_t kSystem = 1;
  return ::getppid() == kSystem;
}

ExitCode examine(const ExamineSetup& command, MacSystem& system, const Output& output) {
  PairingConfiguration pairing(pairingOf(system));
  DoctorExamination examination({.accessibility = system.accessibility,
                                 .bundle = system.bundle,
                                 .environment = system.environment,
                                 .httpSessions = system.httpSessions,
                                 .lockFiles = system.lockFiles,
                                 .loginService = system.loginService,
                                 .secretStore = system.secretStore,
                                 .notifications = nullptr,
                                 .pairing = pairing,
                                 .mainThread = system.executors.mainThread(),
                                 .hasDisplay = [] { return true; },
                                 .unseenPrograms = [] { return std::vector<std::string>{}; },
                                 .isAskedAlone = isStartedBySystem()});
  std::vector<DoctorCheck> checks;
  examination.start([&checks](const DoctorFacts& facts) {
    checks = macDoctorChecks(facts);
    QCoreApplication::exit();
  });
  QCoreApplication::exec();
  output.print(command.asJson ? doctorJson(checks, QUILLARD_VERSION) : doctorText(checks));
  return exitCode(checks);
}

// One for each tool.
struct Tools {
  MacSystem& system;
  const Output& output;

  ExitCode operator()(const ScanOnce& command) const { return scanOnce(command, viewOf(system), output); }
  ExitCode operator()(const RecordDesktop& command) const { return recordDesktop(command, viewOf(system), output); }
  ExitCode operator()(const ExamineSetup& command) const { return examine(command, system, output); }
  ExitCode operator()(const ShowPairingCode& command) const {
    PairingConfiguration pairing(pairingOf(system));
    return showPairingCode(command, terminalFacts(), pairing, system.secretStore, output);
  }
  // No tools.
  ExitCode operator()(const RunAgent&) const { return ExitCode::wrongUsage; }
  ExitCode operator()(const SaySomething&) const { return ExitCode::wrongUsage; }
};

}  // namespace

ExitCode runTool(const Command& command, char* programName, const Output& output) {
  int count = 1;
  char* arguments[] = {programName, nullptr};
  const QCoreApplication loop(count, arguments);
  MacSystem system(STDERR_FILENO);
  return std::visit(Tools{system, output}, command);
}

}  // namespace quillard::app
