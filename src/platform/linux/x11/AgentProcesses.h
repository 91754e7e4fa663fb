#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/linux/x11/ProcessTable.h"

namespace quillard::x11 {

inline constexpr std::string_view kAgentIdentifier = "com.quillard.agent";

// Finds this user's running agents, which have no window most of the time. An agent is a process whose executable is
// `quillard` in a folder `Quillard.app`, wherever that is, and which was called with options alone: the same executable
// with a subcommand is a tool, and none of our business. This process is found as well, if it is an agent.
class AgentProcesses {
 public:
  // `table` outlives this.
  explicit AgentProcesses(const ProcessTable& table) : table(table) {}

  // By process number.
  [[nodiscard]] std::vector<std::int32_t> find() const;
  [[nodiscard]] static bool isAgent(const ProcessFacts& process);

 private:
  const ProcessTable& table;
};

}  // namespace quillard::x11
