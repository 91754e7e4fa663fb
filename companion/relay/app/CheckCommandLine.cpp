#include "companion/relay/app/CheckCommandLine.h"

#include <sstream>

#include <CLI/CLI.hpp>

namespace quillard::relayserver {

std::variant<RelayCheckOptions, CommandLineMessage> readCheckOptions(const std::vector<std::string>& arguments) {
  CLI::App program("Uses a relay as a computer and a phone do, and says what is wrong.", "quillard-relay check");
  RelayCheckOptions options;
  std::string address;
  int seconds = 0;
  program.add_option("address", address, "Where the relay is: https://relay.example")->required();
  program.add_option("--registration-key", options.registrationKey, "The operator's key, where the relay wants one");
  program.add_option("--wait", seconds, "Keep connections silent for so many seconds, to see whether they are dropped")
      ->check(CLI::Range(0, 3600))
      ->capture_default_str();
  // For tests.
  long timeout = options.timeout.count();
  program.add_option("--timeout-milliseconds", timeout, "")->check(CLI::Range(1, 60'000))->group("");
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(std::move(reversed));
  } catch (const CLI::ParseError& end) {
    std::ostringstream printed;
    const bool isWrong = program.exit(end, printed, printed) != 0;
    return CommandLineMessage{printed.str(), isWrong ? ExitCode::wrongUsage : ExitCode::success};
  }
  const auto parsed = CheckedAddress::parse(address);
  if (!parsed) {
    return CommandLineMessage{
        address + ": that is no address such as https://relay.example; in clear only of this computer.\n",
        ExitCode::wrongUsage};
  }
  options.address = *parsed;
  options.timeout = std::chrono::milliseconds(timeout);
  options.silence = std::chrono::seconds(seconds);
  return options;
}

}  // namespace quillard::relayserver
