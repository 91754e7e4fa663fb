#include "platform/linux/system/LinuxRunningAgents.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include <unistd.h>

#include "platform/linux/system/ProcessHandle.h"
#include "platform/linux/x11/AgentProcesses.h"

namespace quillard::desktop {

using std::chrono::steady_clock;

bool endRunningAgents(const x11::ProcessTable& processes, const platform::Environment& environment, Seconds timeout) {
  const x11::AgentProcesses agents(processes, environment.value("XDG_RUNTIME_DIR"));
  std::vector<ProcessHandle> ending;
  for (const auto agent : agents.find()) {
    if (agent == ::getpid()) continue;
    ProcessHandle handle(agent);
    if (!agents.isOurs(agent)) continue;  // The number may be another's by now.
    handle.terminate();
    ending.push_back(std::move(handle));
  }
  const auto end = steady_clock::now() + std::chrono::duration_cast<steady_clock::duration>(timeout);
  return std::all_of(ending.begin(), ending.end(), [&](const ProcessHandle& handle) { return handle.awaitEnd(end); });
}

}  // namespace quillard::desktop
