#include "e2e/RelayProgram.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "contract/support/EtcdMembers.h"

namespace quillard::test {
namespace {

std::optional<std::uint16_t> portIn(const std::optional<std::string>& line) {
  if (!line) return std::nullopt;
  return static_cast<std::uint16_t>(std::stoul(line->substr(line->rfind(':') + 1)));
}

// One engine for all tests of the program.
EtcdMembers& sharedEngine() {
  static EtcdMembers members(1);
  return members;
}

std::string newPrefix() {
  static int clusters = 0;
  return "cluster-" + std::to_string(++clusters) + "/";
}

}  // namespace

std::string relayProgram() {
  const char* other = std::getenv("QUILLARD_RELAY_PROGRAM");
  return other ? other : QUILLARD_RELAY_PROGRAM;
}

int RelayProgram::relayCount() {
  const char* several = std::getenv("QUILLARD_TEST_CLUSTER");
  if (!several) return 1;
  return EtcdMembers::isInstalled() ? std::atoi(several) : 0;
}

RelayProgram::RelayProgram(std::vector<std::string> arguments)
    : arguments(std::move(arguments)), prefix(newPrefix()), instances(static_cast<std::size_t>(relayCount())) {
  if (instances.empty()) throw std::runtime_error(EtcdMembers::kMissing);
  start();
}

std::string RelayProgram::file(std::size_t number, const std::string& name) const {
  return folder() + "/" + (number == 0 ? "" : std::to_string(number) + "-") + name;
}

std::vector<std::string> RelayProgram::clusterArguments(std::size_t number) const {
  if (instances.size() == 1) return {};
  return {"--cluster",         sharedEngine().urls().front(),
          "--cluster-name",    "relay-" + std::to_string(number),
          "--cluster-listen",  "127.0.0.1:0",
          "--cluster-prefix",  prefix,
          "--cluster-in-clear"};
}

void RelayProgram::start() {
  for (std::size_t i = 0; i < instances.size(); ++i) start(i, instances[i]);
  for (auto& instance : instances) readAddresses(instance);
}

void RelayProgram::start(std::size_t number, Instance& instance) {
  // The shell only sends what it warns of to a file, and becomes the relay.
  std::vector<std::string> command{
      "/bin/sh",      "-c",       R"(log=$1; shift; exec "$@" 2>> "$log")",     "sh",         file(number, "log"),
      relayProgram(), "--listen", "127.0.0.1:" + std::to_string(instance.port), "--database", file(number, "relay.db")};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const auto more = clusterArguments(number);
  command.insert(command.end(), more.begin(), more.end());
  instance.process =
      std::make_unique<ChildProcess>(ChildProcess::Start{.command = command, .environment = presentEnvironment()});
}

void RelayProgram::readAddresses(Instance& instance) {
  const auto line = instance.process->readLine();
  if (!line) throw std::runtime_error("the relay did not start: " + output());
  said += *line + "\n";
  instance.port = portIn(line).value();
  const bool hasMetrics = std::find(arguments.begin(), arguments.end(), "--metrics") != arguments.end();
  if (hasMetrics) instance.metricsPort = portIn(instance.process->readLine());
}

void RelayProgram::signal(int number) const {
  for (const auto& instance : instances) ::kill(instance.process->id(), number);
}

std::optional<int> RelayProgram::wait() {
  std::optional<int> highest;
  for (const auto& instance : instances) {
    const auto code = instance.process->wait();
    if (!code) return std::nullopt;
    highest = std::max(highest.value_or(0), *code);
  }
  return highest;
}

void RelayProgram::killAndRestart() {
  for (auto& instance : instances) {
    instance.process->kill();
    instance.port = 0;
  }
  start();
}

void RelayProgram::loseDatabaseAndRestart() {
  for (auto& instance : instances) instance.process->kill();
  prefix = newPrefix();
  for (std::size_t i = 0; i < instances.size(); ++i) {
    for (const auto* const suffix : {"", "-wal", "-shm"}) {
      std::filesystem::remove(file(i, "relay.db") + suffix);
    }
  }
  start();
}

std::string RelayProgram::output() const {
  std::string all = said;
  for (std::size_t i = 0; i < instances.size(); ++i) {
    std::ifstream log(file(i, "log"), std::ios::binary);
    all += std::string{std::istreambuf_iterator<char>(log), {}};
  }
  return all;
}

}  // namespace quillard::test
