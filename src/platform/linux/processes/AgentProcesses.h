#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/AgentNames.h"
#include "platform/linux/processes/ProcessTable.h"

namespace quillard::proc {

// Finds this user's running agents, which have no window most of the time. An agent is a process whose executable is
// `quillard` in a folder `Quillard.app`, wherever that is, and which was called with options alone: the same executable
// with a subcommand is a tool, and none of our business. Agents of the user's other sessions are none of ours. This
// process is found as well, if it is an agent.
class AgentProcesses {
 public:
  // `table` outlives this. `sessionFolder`: what tells our own session from others, see ProcessTable.
  AgentProcesses(const ProcessTable& table, std::optional<std::string> sessionFolder)
      : table(table), sessionFolder(std::move(sessionFolder)) {}

  // By process number.
  [[nodiscard]] std::vector<std::int32_t> find() const;
  // Of whatever session.
  [[nodiscard]] static bool isAgent(const ProcessFacts& process);
  // Whether this process is one that `find` would find.
  [[nodiscard]] bool isOurs(std::int32_t processIdentifier) const;

 private:
  const ProcessTable& table;
  const std::optional<std::string> sessionFolder;
};

}  // namespace quillard::proc
