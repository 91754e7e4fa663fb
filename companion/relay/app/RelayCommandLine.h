#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "companion/relay/server/RelayConfiguration.h"

namespace CLI {
class App;
}

namespace quillard::relayserver {

// Takes how arguments are read, for completions and the manual.
using UseCommandLine = std::function<void(const CLI::App&)>;

enum class ExitCode : int { success = 0, isWrong = 1, wrongUsage = 2, cannotDoHere = 3 };

// What is printed instead of serving: help, the version, or what is wrong. To standard output for `success`, else to
// standard error.
struct CommandLineMessage {
  std::string text;
  ExitCode exitCode = ExitCode::success;
};

// From flags, else the environment (QUILLARD_RELAY_...), else the configuration file, else the defaults. `arguments`:
// without the program's name. The named configuration file is read; no other path is touched.
[[nodiscard]] std::variant<RelayConfiguration, CommandLineMessage> readConfiguration(
    const std::vector<std::string>& arguments);
void withRelayCommandLine(const UseCommandLine& use);

}  // namespace quillard::relayserver
