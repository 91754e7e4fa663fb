#include "app/ProcessSetup.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace quillard::app {

void forbidCoreDumps() {
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
  // A program that the kernel pipes dumps to does not care for the limit; of what is not in the filter, nobody gets
  // any.
  const int filter = ::open("/proc/self/coredump_filter", O_WRONLY | O_CLOEXEC);
  if (filter < 0) return;
  static_cast<void>(::write(filter, "0", 1) == 1);
  ::close(filter);
}

void ensureStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (::fcntl(stream, F_GETFD) >= 0) continue;
    // The lowest free number is this one.
    static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY));
  }
}

}  // namespace quillard::app
