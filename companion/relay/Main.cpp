#include <csignal>
#include <cstdio>
#include <string>
#include <variant>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

#include "companion/relay/RelayConfiguration.h"
#include "companion/relay/RelayServer.h"

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
  if (const auto* words = std::get_if<SaySomething>(&read)) {
    std::fputs(words->text.c_str(), words->exitCode == ExitCode::fine ? stdout : stderr);
    return exitWith(words->exitCode);
  }
  RelayServer server(std::get<RelayConfiguration>(read));
  if (const auto problem = server.prepare(); !problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
    return exitWith(ExitCode::cannotDoHere);
  }
  server.run();
  return exitWith(ExitCode::fine);
}
