#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

#include "companion/relay/app/BackupCommandLine.h"
#include "companion/relay/app/CheckCommandLine.h"
#include "companion/relay/app/RelayCommandLine.h"
#include "companion/relay/app/RelaySetup.h"
#include "companion/relay/server/RelayServer.h"
#include "companion/relay/storage/SqlitePairingStore.h"
#include "companion/relay/storage/SqliteRelayDisk.h"

namespace {

using namespace quillard::relayserver;

// No memory image with tokens in it; nothing for others in new files.
void prepareProcess() {
  const rlimit none{};
  ::setrlimit(RLIMIT_CORE, &none);
  ::umask(S_IRWXG | S_IRWXO);
  std::signal(SIGPIPE, SIG_IGN);
  // Who writes more than may be written is told so, and need not end.
  std::signal(SIGXFSZ, SIG_IGN);
}

// Raises the limit of open files to what so many connections need, as far as this user may, and returns how many
// connections it then allows.
std::size_t raiseFileLimit(std::size_t connections) {
  // Listeners, the database, what is accepted only to be refused, and connections to push services.
  constexpr rlim_t kOtherFiles = 256;
  const rlim_t wanted = connections + kOtherFiles;
  rlimit files{};
  if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return connections;
  if (files.rlim_cur >= wanted) return connections;
  rlimit raised{.rlim_cur = wanted, .rlim_max = std::max(wanted, files.rlim_max)};
  if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) return connections;
  // Above the hard limit only root may go.
  raised = {.rlim_cur = std::min(wanted, files.rlim_max), .rlim_max = files.rlim_max};
  if (::setrlimit(RLIMIT_NOFILE, &raised) != 0) raised = files;
  return raised.rlim_cur > kOtherFiles ? std::min<std::size_t>(connections, raised.rlim_cur - kOtherFiles) : 1;
}

int exitWith(ExitCode code) { return static_cast<int>(code); }

int print(const CommandLineMessage& message) {
  std::fputs(message.text.c_str(), message.exitCode == ExitCode::success ? stdout : stderr);
  return exitWith(message.exitCode);
}

int setUp(const std::vector<std::string>& arguments) {
  const auto options = readSetupOptions(arguments);
  if (const auto* message = std::get_if<CommandLineMessage>(&options)) return print(*message);
  return print(setUpRelay(std::get<RelaySetupOptions>(options)));
}

int check(const std::vector<std::string>& arguments) {
  auto read = readCheckOptions(arguments);
  if (const auto* message = std::get_if<CommandLineMessage>(&read)) return print(*message);
  auto& options = std::get<RelayCheckOptions>(read);
  options.currentSecondsSinceEpoch = static_cast<double>(::time(nullptr));
  const bool isFine = checkRelay(options, [](const std::string& line) { std::puts(line.c_str()); });
  return exitWith(isFine ? ExitCode::success : ExitCode::isWrong);
}

// quillard-relay backup DATABASE COPY
int backUp(const std::vector<std::string>& arguments) {
  const auto read = readBackupOptions(arguments);
  if (const auto* message = std::get_if<CommandLineMessage>(&read)) return print(*message);
  const auto& options = std::get<RelayBackupOptions>(read);
  try {
    SqlitePairingStore::backUp(options.database, options.copy);
  } catch (const PairingStore::Failure& failure) {
    return print({failure.description + "\n", ExitCode::cannotDoHere});
  }
  return exitWith(ExitCode::success);
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const std::string command = arguments.empty() ? "" : arguments.front();
  if (command == "setup") return setUp({arguments.begin() + 1, arguments.end()});
  if (command == "check") return check({arguments.begin() + 1, arguments.end()});
  if (command == "backup") return backUp({arguments.begin() + 1, arguments.end()});
  const auto read = readConfiguration(arguments);
  if (const auto* message = std::get_if<CommandLineMessage>(&read)) return print(*message);
  auto configuration = std::get<RelayConfiguration>(read);
  const std::size_t possible = raiseFileLimit(configuration.limits.connections);
  if (possible < configuration.limits.connections) {
    std::fprintf(stderr, "The limit of open files allows %zu connections instead of %zu.\n", possible,
                 configuration.limits.connections);
    configuration.limits.connections = possible;
  }
  RelayServer server(
      configuration, [&configuration] { return std::make_unique<SqlitePairingStore>(configuration.database); },
      [&configuration] {
        const auto& limits = configuration.limits;
        return std::make_unique<SqliteRelayDisk>(configuration.database, limits.revocations);
      });
  if (const auto problem = server.prepare(); !problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
    return exitWith(ExitCode::cannotDoHere);
  }
  server.run();
  return exitWith(ExitCode::success);
}
