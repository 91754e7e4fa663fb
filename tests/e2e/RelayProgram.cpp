#include "e2e/RelayProgram.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace quillard::test {
namespace {

std::optional<std::uint16_t> portIn(const std::optional<std::string>& line) {
  if (!line) return std::nullopt;
  return static_cast<std::uint16_t>(std::stoul(line->substr(line->rfind(':') + 1)));
}

// The one that was built with this test, or another one that the environment names.
std::string relayProgram() {
  const char* other = std::getenv("QUILLARD_RELAY_PROGRAM");
  return other ? other : QUILLARD_RELAY_PROGRAM;
}

}  // namespace

RelayProgram::RelayProgram(std::vector<std::string> arguments) : arguments(std::move(arguments)) { start(); }

void RelayProgram::start(std::uint16_t port) {
  // The shell only sends what it warns of to a file, and becomes the relay.
  std::vector<std::string> command{
      "/bin/sh",      "-c",       R"(log=$1; shift; exec "$@" 2>> "$log")", "sh",         folder() + "/log",
      relayProgram(), "--listen", "127.0.0.1:" + std::to_string(port),      "--database", folder() + "/relay.db"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  process =
      std::make_unique<ChildProcess>(ChildProcess::Start{.command = command, .environment = presentEnvironment()});
  const auto line = process->readLine();
  if (!line) throw std::runtime_error("the relay did not start: " + output());
  said += *line + "\n";
  boundPort = portIn(line).value();
  const bool hasMetrics = std::find(arguments.begin(), arguments.end(), "--metrics") != arguments.end();
  if (hasMetrics) boundMetricsPort = portIn(process->readLine());
}

void RelayProgram::signal(int number) const { ::kill(process->id(), number); }

void RelayProgram::killAndRestart() {
  process->kill();
  start();
}

void RelayProgram::loseDatabaseAndRestart() {
  process->kill();
  for (const auto* const suffix : {"", "-wal", "-shm"}) std::filesystem::remove(folder() + "/relay.db" + suffix);
  start(boundPort);
}

std::string RelayProgram::output() const {
  std::ifstream log(folder() + "/log", std::ios::binary);
  return said + std::string{std::istreambuf_iterator<char>(log), {}};
}

}  // namespace quillard::test
