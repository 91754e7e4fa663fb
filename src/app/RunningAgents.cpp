#include "app/RunningAgents.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/x11/AgentProcesses.h"

namespace quillard::app {
namespace {

using std::chrono::steady_clock;

// A process itself, not only its number, which may be another's soon.
class ProcessHandle {
 public:
  explicit ProcessHandle(std::int32_t process) : file(static_cast<int>(::syscall(SYS_pidfd_open, process, 0))) {}
  ProcessHandle(ProcessHandle&& other) noexcept : file(std::exchange(other.file, -1)) {}
  ProcessHandle(const ProcessHandle&) = delete;
  ProcessHandle& operator=(const ProcessHandle&) = delete;
  ~ProcessHandle() {
    if (file >= 0) ::close(file);
  }
  void askToEnd() const { ::syscall(SYS_pidfd_send_signal, file, SIGTERM, nullptr, 0); }
  // Whether it ends in time. One that cannot be watched has ended.
  [[nodiscard]] bool awaitEnd(steady_clock::time_point end) const {
    if (file < 0) return true;
    pollfd ended{file, POLLIN, 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
    return ::poll(&ended, 1, static_cast<int>(std::max(left.count(), std::int64_t{0}))) > 0;
  }

 private:
  int file;
};

}  // namespace

bool endRunningAgents(const x11::ProcessTable& processes, const platform::Environment& environment, Seconds timeout) {
  const x11::AgentProcesses agents(processes, environment.value("XDG_RUNTIME_DIR"));
  std::vector<ProcessHandle> ending;
  for (const auto agent : agents.find()) {
    if (agent == ::getpid()) continue;
    ProcessHandle handle(agent);
    if (!agents.isOurs(agent)) continue;  // The number may be another's by now.
    handle.askToEnd();
    ending.push_back(std::move(handle));
  }
  const auto end = steady_clock::now() + std::chrono::duration_cast<steady_clock::duration>(timeout);
  return std::all_of(ending.begin(), ending.end(), [&](const ProcessHandle& handle) { return handle.awaitEnd(end); });
}

}  // namespace quillard::app
