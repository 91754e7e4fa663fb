#include "platform/linux/system/ProcessHandle.h"

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillard::desktop {

// The C library of the oldest system that we build for has no functions for these.
ProcessHandle::ProcessHandle(std::int32_t processIdentifier)
    : descriptor(static_cast<int>(::syscall(SYS_pidfd_open, processIdentifier, 0U))) {}

ProcessHandle::~ProcessHandle() {
  if (descriptor >= 0) ::close(descriptor);
}

bool ProcessHandle::terminate() const {
  return descriptor >= 0 && ::syscall(SYS_pidfd_send_signal, descriptor, SIGTERM, nullptr, 0U) == 0;
}

}  // namespace quillard::desktop
