#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

#include "companion/relay/app/RelayCommandLine.h"
#include "companion/relay/server/RelayServer.h"
#include "companion/relay/storage/SqlitePairingStore.h"

namespace {

using namespace quillard::relayserver;

// No memory image with tokens in it; as many connections as this user may have; nothing for others in new files.
void prepareProcess() {
  const rlimit none{};
  ::setrlimit(RLIMIT_CORE, &none);
  rlimit files{};
  if (::getrlimit(RLIMIT_NOFILE, &files) == 0) {
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
  }
  ::umask(S_IRWXG | S_IRWXO);
  std::signal(SIGPIPE, SIG_IGN);
}

int exitWith(ExitCode code) { return static_cast<int>(code); }

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  const auto read = readConfiguration(std::vector<std::string>(argv + 1, argv + argc));
  if (const auto* message = std::get_if<CommandLineMessage>(&read)) {
    std::fputs(message->text.c_str(), message->exitCode == ExitCode::success ? stdout : stderr);
    return exitWith(message->exitCode);
  }
  const auto& configuration = std::get<RelayConfiguration>(read);
  RelayServer server(configuration,
                     [&configuration] { return std::make_unique<SqlitePairingStore>(configuration.database); });
  if (const auto problem = server.prepare(); !problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
    return exitWith(ExitCode::cannotDoHere);
  }
  server.run();
  return exitWith(ExitCode::success);
}
