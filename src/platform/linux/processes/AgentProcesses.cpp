#include "platform/linux/processes/AgentProcesses.h"

#include <algorithm>

namespace quillard::proc {
namespace {

constexpr std::string_view kExecutable = "/Quillard.app/quillard";

}  // namespace

std::vector<std::int32_t> AgentProcesses::find() const {
  std::vector<std::int32_t> agents;
  for (const auto candidate : table.all()) {
    // One look tells most others apart.
    if (!table.executable(candidate).ends_with(kExecutable)) continue;
    if (isOurs(candidate)) agents.push_back(candidate);
  }
  return agents;
}

bool AgentProcesses::isOurs(std::int32_t processIdentifier) const {
  const auto process = table.process(processIdentifier);
  return process && isAgent(*process) && table.sessionFolder(processIdentifier) == sessionFolder;
}

bool AgentProcesses::isAgent(const ProcessFacts& process) {
  return process.executable.ends_with(kExecutable) && !process.arguments.empty() &&
         std::all_of(process.arguments.begin() + 1, process.arguments.end(),
                     [](const std::string& argument) { return argument.starts_with('-'); });
}

}  // namespace quillard::proc
