#include "platform/linux/system/ProcessHandle.h"

#include <algorithm>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillard::desktop {

using std::chrono::steady_clock;

// The C library of the oldest system that we build for has no functions for these.
ProcessHandle::ProcessHandle(std::int32_t processIdentifier)
    : descriptor(static_cast<int>(::syscall(SYS_pidfd_open, processIdentifier, 0U))) {}

ProcessHandle::ProcessHandle(ProcessHandle&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}

ProcessHandle::~ProcessHandle() {
  if (descriptor >= 0) ::close(descriptor);
}

bool ProcessHandle::terminate() const {
  return descriptor >= 0 && ::syscall(SYS_pidfd_send_signal, descriptor, SIGTERM, nullptr, 0U) == 0;
}

bool ProcessHandle::awaitEnd(steady_clock::time_point end) const {
  if (descriptor < 0) return true;
  pollfd ended{descriptor, POLLIN, 0};
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
  return ::poll(&ended, 1, static_cast<int>(std::max(left.count(), std::int64_t{0}))) > 0;
}

}  // namespace quillard::desktop
