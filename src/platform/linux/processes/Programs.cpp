#include "platform/linux/processes/Programs.h"

#include "foundation/Text.h"
#include "platform/linux/processes/AgentProcesses.h"
#include "platform/linux/processes/Interpreters.h"

namespace quillard::proc {
namespace {

constexpr std::size_t kLongestProgram = 4096;

bool isUsable(const std::string& program) {
  return !program.empty() && program.size() <= kLongestProgram && text::isValidUtf8(program);
}

std::string commandOf(const ProcessFacts& process) {
  if (!process.executable.empty()) return process.executable;
  if (!process.arguments.empty() && !process.arguments.front().empty()) {
    const std::string& name = process.arguments.front();
    return name.starts_with('/') ? name : baseName(name);
  }
  return process.shortName;
}

}  // namespace

std::string programOf(const ProcessFacts& process) {
  const std::string command = commandOf(process);
  if (isInterpreter(baseName(command))) {
    const auto script = scriptOf(process.arguments);
    const std::string program = !script || script->starts_with('/') ? script.value_or("") : baseName(*script);
    if (isUsable(program)) return program;
  }
  return isUsable(command) ? command : "";
}

ProgramIdentity identify(const ProcessFacts& process, const std::string& windowClass, DesktopEntries& entries) {
  const std::string program = programOf(process);
  const auto entry = entries.find(program, windowClass);
  ProgramIdentity identity = entry ? ProgramIdentity{.identifier = entry->id, .name = entry->name}
                                   : ProgramIdentity{.identifier = program, .name = baseName(program)};
  if (AgentProcesses::isAgent(process)) identity.identifier = std::string{kAgentIdentifier};
  return identity;
}

}  // namespace quillard::proc
