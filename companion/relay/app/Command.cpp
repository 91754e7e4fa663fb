#include "companion/relay/app/Command.h"

#include <sstream>

namespace quillard::relayserver {

std::optional<CommandLineMessage> parseArguments(CLI::App& program, const std::vector<std::string>& arguments) {
  // CLI11 expects them in reverse order.
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(std::move(reversed));
  } catch (const CLI::ParseError& end) {
    std::ostringstream printed;
    const bool isWrong = program.exit(end, printed, printed) != 0;
    return CommandLineMessage{printed.str(), isWrong ? ExitCode::wrongUsage : ExitCode::success};
  }
  return std::nullopt;
}

}  // namespace quillard::relayserver
