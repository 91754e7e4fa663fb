#include "app/ToolRun.h"

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <QtCore/QCoreApplication>
#include <sys/ioctl.h>
#include <unistd.h>

#include "agent/FallbackStatusSnapshot.h"
#include "app/ChannelRun.h"
#include "app/ChannelTools.h"
#include "app/DesktopTools.h"
#include "app/DoctorExamination.h"
#include "app/EraseTool.h"
#include "app/PairingFarewell.h"
#include "app/PairingTool.h"
#include "app/ReadableTool.h"
#include "app/RelayTrial.h"
#include "app/SettingsTool.h"
#include "app/TerminalLine.h"

namespace quillard::app {
namespace {

// For the settings' lock.
constexpr int kLockTries = 20;
constexpr Seconds kLockInterval{0.1};

TerminalFacts terminalFacts() {
  TerminalFacts facts{.isTerminal = ::isatty(STDOUT_FILENO) == 1, .columns = {}};
  winsize size{};
  if (facts.isTerminal && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    facts.columns = size.ws_col;
  }
  return facts;
}

// The key itself, where it is to be read from standard input. Empty: it cannot be read.
std::optional<std::string> keyOf(const std::optional<std::string>& given) {
  constexpr std::size_t kLongestKey = 1024;
  if (given != "-") return given;
  return readInputLine(kLongestKey).value_or("");
}

struct Tools {
  ExitCode operator()(const ScanOnce& command) const { return scanOnce(command, platform, output); }
  ExitCode operator()(const ExplainWindows& command) const { return explainWindows(command, platform, output); }
  ExitCode operator()(const RecordDesktop& command) const { return recordDesktop(command, platform, output); }
  ExitCode operator()(const ExamineSetup& command) const {
    PairingConfiguration pairing(pairingDependencies(platform));
    DoctorExamination examination(platform, pairing, doctor);
    std::vector<DoctorCheck> checks;
    examination.start([&](const DoctorFacts& facts) {
      checks = doctor.checks(facts);
      QCoreApplication::exit();
    });
    QCoreApplication::exec();
    output.print(command.asJson ? doctorJson(checks, QUILLARD_VERSION) : doctorText(checks));
    return exitCode(checks);
  }
  ExitCode operator()(const ShowPairingCode& command) const {
    PairingConfiguration pairing(pairingDependencies(platform));
    // A code is for one phone: for the next one the agent makes another.
    if (isFirstCodeUsed(pairing, platform.userDefaults, platform.clock)) {
      return runPairAnother(command, terminalFacts(), channel(), output, texts);
    }
    return showPairingCode(command, terminalFacts(), pairing, platform.secretStore, output, texts);
  }
  ExitCode operator()(const SetRelay& command) const {
    PairingConfiguration pairing(pairingDependencies(platform));
    return setRelay({command.address, keyOf(command.registrationKey)}, pairing, changes(), output);
  }
  ExitCode operator()(const ForgetRelay&) const {
    PairingConfiguration pairing(pairingDependencies(platform));
    return forgetRelay(pairing, changes(), output);
  }
  ExitCode operator()(const ShowRelay& command) const {
    PairingConfiguration pairing(pairingDependencies(platform));
    return showRelay(command, pairing, output);
  }
  ExitCode operator()(const TestRelay& command) const {
    PairingConfiguration pairing(pairingDependencies(platform));
    const auto relay = relayToTest({command.address, keyOf(command.registrationKey)}, pairing, output);
    if (!relay) return ExitCode::cannotDoHere;
    RelayTrial trial(platform);
    auto code = ExitCode::problemFound;
    trial.start(
        *relay, [this](const std::string& step) { output.print(step + "\n"); },
        [&code](bool isWell) {
          code = isWell ? ExitCode::fine : ExitCode::problemFound;
          QCoreApplication::exit();
        });
    QCoreApplication::exec();
    return code;
  }
  ExitCode operator()(const ShowSettings& command) const {
    return showSettings(command, {platform.environment, &platform.userDefaults}, output);
  }
  ExitCode operator()(const ChangeSetting& command) const {
    return changeSetting(command, {platform.environment, &platform.userDefaults}, changes(), output);
  }
  [[nodiscard]] MakeChange changes() const {
    return [this](const SettingsChange& change) {
      // Whoever holds the lock may be another tool, or an agent that starts or ends.
      for (int triesLeft = kLockTries;; --triesLeft) {
        auto outcome = changeThere(change, channel());
        if (!outcome) outcome = changeHere(change, platform.lockFiles, [this] { return system.openSettings(); });
        if (!outcome->canBeRepeated || triesLeft <= 1) return *outcome;
        wait(kLockInterval);
      }
    };
  }
  ExitCode operator()(const AskQuestion& command) const { return runAsk(command, channel(), output); }
  ExitCode operator()(const AnswerQuestion& command) const { return runAnswer(command, channel(), output); }
  ExitCode operator()(const TellStatus& command) const { return runStatus(command, channel(), output); }
  ExitCode operator()(const ListPhones& command) const { return runPhones(command, channel(), output); }
  ExitCode operator()(const UnpairPhones& command) const { return runUnpair(command, channel(), output); }
  ExitCode operator()(const ListMuted& command) const { return runMuted(command, channel(), output); }
  ExitCode operator()(const EndMute& command) const { return runUnmute(command, channel(), output); }
  ExitCode operator()(const ChangeMute& command) const { return runMute(command, channel(), output); }
  ExitCode operator()(const ShowLog& command) const { return runLog(command, platform.auditFile, channel(), output); }
  ExitCode operator()(const EraseEverything& command) const {
    return eraseAll(command,
                    {.lockFiles = platform.lockFiles,
                     .secretStore = platform.secretStore,
                     .openSettings = [this] { return system.openSettings(); },
                     .ownFiles = system.ownFiles(),
                     .ask = [this](const std::string& question) { return agreesAtTerminal(question, output); },
                     .quitAgent = [this] { quitQuietly(); },
                     .pause = [this] { wait(kLockInterval); },
                     .revoke = [this](platform::UserDefaults& settings) { return revokeAll(settings); }},
                    output);
  }
  ExitCode operator()(const PauseAlerts& command) const { return request("pause", command); }
  ExitCode operator()(const OpenWindow& command) const { return request("open", command); }
  ExitCode operator()(const QuitAgent& command) const { return request("quit", command); }
  ExitCode operator()(const MakeReadable& command) const {
    return makeReadable(command, platform.capabilities, platform.readableStarts, output);
  }
  // No tools.
  ExitCode operator()(const RunAgent&) const { return ExitCode::wrongUsage; }
  ExitCode operator()(const PrintMessage&) const { return ExitCode::wrongUsage; }

  [[nodiscard]] ChannelRunDependencies channel() const {
    return {platform.localSockets, platform.executors, platform.clock};
  }
  void wait(Seconds interval) const {
    const auto end = platform.executors.mainThread().postAfter(interval, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
  }
  // What comes of it shows.
  void quitQuietly() const {
    const Output silent{.print = [](std::string_view) {}, .printError = [](std::string_view) {}};
    static_cast<void>(runRequest("quit", requestLine(QuitAgent{}), channel(), silent));
  }
  [[nodiscard]] std::size_t revokeAll(platform::UserDefaults& settings) const {
    std::size_t untold = 0;
    PairingFarewell farewell(platform, settings);
    farewell.start([&untold](std::size_t count) {
      untold = count;
      QCoreApplication::exit();
    });
    QCoreApplication::exec();
    return untold;
  }
  template <class Given>
  [[nodiscard]] ExitCode request(const char* name, const Given& command) const {
    return runRequest(name, requestLine(command), channel(), output);
  }

  platform::SystemPlatform& system;
  const platform::Platform& platform;
  const DoctorTraits& doctor;
  const Output& output;
  const UserTexts texts;
};

}  // namespace

ExitCode runTool(const Command& command, const System& system, char* programName, const Output& output) {
  int count = 1;
  char* arguments[] = {programName, nullptr};
  const QCoreApplication loop(count, arguments);
  const auto opened = system.open(STDERR_FILENO);
  const auto platform = opened.platform->platform();
  return std::visit(Tools{*opened.platform, platform, opened.doctor, output, terminalTexts(opened.texts)}, command);
}

}  // namespace quillard::app
