#include "companion/relay/app/BackupCommandLine.h"

#include <sstream>

#include <CLI/CLI.hpp>

namespace quillard::relayserver {
namespace {

constexpr const char* kName = "quillard-relay backup";

void describe(CLI::App& program, RelayBackupOptions& options) {
  program.description("Copies the database of a relay, which may be running.");
  program.add_option("DATABASE", options.database, "The file that the relay keeps its pairings in")->required();
  program.add_option("COPY", options.copy, "A new file")->required();
}

}  // namespace

void withBackupCommandLine(const UseCommandLine& use) {
  CLI::App program("", kName);
  RelayBackupOptions options;
  describe(program, options);
  use(program);
}

std::variant<RelayBackupOptions, CommandLineMessage> readBackupOptions(const std::vector<std::string>& arguments) {
  CLI::App program("", kName);
  RelayBackupOptions options;
  describe(program, options);
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(std::move(reversed));
  } catch (const CLI::ParseError& end) {
    std::ostringstream printed;
    const bool isWrong = program.exit(end, printed, printed) != 0;
    return CommandLineMessage{printed.str(), isWrong ? ExitCode::wrongUsage : ExitCode::success};
  }
  return options;
}

}  // namespace quillard::relayserver
