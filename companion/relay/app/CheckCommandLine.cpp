#include "companion/relay/app/CheckCommandLine.h"

#include "companion/relay/app/Command.h"

namespace quillard::relayserver {
namespace {

// What CLI11 reads into.
struct Arguments {
  RelayCheckOptions options;
  std::string address;
  int seconds = 0;
  long timeout = options.timeout.count();
};

void describe(CLI::App& program, Arguments& read) {
  program.description("Uses a relay as a computer and a phone do, and says what is wrong.");
  program.add_option("ADDRESS", read.address, "Where the relay is: https://relay.example")->required();
  program.add_option("--registration-key", read.options.registrationKey,
                     "The operator's key, where the relay wants one");
  program
      .add_option("--wait", read.seconds,
                  "Keep connections silent for so many seconds, to see whether they are dropped")
      ->check(CLI::Range(0, 3600))
      ->capture_default_str();
  // For tests.
  program.add_option("--timeout-milliseconds", read.timeout, "")->check(CLI::Range(1, 60'000))->group("");
}

constexpr Command<Arguments> kCheck{"quillard-relay check", describe};

}  // namespace

void withCheckCommandLine(const UseCommandLine& use) { kCheck.show(use); }

std::variant<RelayCheckOptions, CommandLineMessage> readCheckOptions(const std::vector<std::string>& arguments) {
  auto outcome = kCheck.read(arguments);
  if (auto* message = std::get_if<CommandLineMessage>(&outcome)) return std::move(*message);
  auto& read = std::get<Arguments>(outcome);
  const auto parsed = CheckedAddress::parse(read.address);
  if (!parsed) {
    return CommandLineMessage{
        read.address + ": that is no address such as https://relay.example; in clear only of this computer.\n",
        ExitCode::wrongUsage};
  }
  auto& options = read.options;
  options.address = *parsed;
  options.timeout = std::chrono::milliseconds(read.timeout);
  options.silence = std::chrono::seconds(read.seconds);
  return options;
}

}  // namespace quillard::relayserver
