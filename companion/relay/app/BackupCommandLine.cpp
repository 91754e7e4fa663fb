#include "companion/relay/app/BackupCommandLine.h"

#include "companion/relay/app/Command.h"

namespace quillard::relayserver {
namespace {

void describe(CLI::App& program, RelayBackupOptions& options) {
  program.description("Copies the database of a relay, which may be running.");
  program.add_option("DATABASE", options.database, "The file that the relay keeps its pairings in")->required();
  program.add_option("COPY", options.copy, "A new file")->required();
}

constexpr Command<RelayBackupOptions> kBackup{"quillard-relay backup", describe};

}  // namespace

void withBackupCommandLine(const UseCommandLine& use) { kBackup.show(use); }

std::variant<RelayBackupOptions, CommandLineMessage> readBackupOptions(const std::vector<std::string>& arguments) {
  return kBackup.read(arguments);
}

}  // namespace quillard::relayserver
