#include "platform/posix/StandardOutput.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace quillard::desktop {

StandardOutput::StandardOutput() : StandardOutput(STDOUT_FILENO) {}

StandardOutput::StandardOutput(int descriptor) : descriptor(descriptor) { std::signal(SIGPIPE, SIG_IGN); }

void StandardOutput::writeLine(std::string_view line) {
  std::string text;
  text.reserve(line.size() + 2);
  const MutexLock lock(mutex);
  if (isLineOpen) text += '\n';
  text.append(line).append(1, '\n');
  writeAll(text);
}

// Whether a piece of PIPE_BUF bytes can be written without waiting.
bool StandardOutput::hasRoom() {
  pollfd output{descriptor, POLLOUT, 0};
  const int ready = ::poll(&output, 1, isStalled ? 0 : kTimeoutMilliseconds);
  // An error shows when writing: a closed output is not a full one.
  isStalled = ready <= 0;
  return !isStalled;
}

bool StandardOutput::writeAll(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!hasRoom()) return false;
    // In pieces that a pipe takes whole, since only those are sure not to block.
    const ssize_t count = ::write(descriptor, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    isLineOpen = bytes[static_cast<std::size_t>(count) - 1] != '\n';
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace quillard::desktop
