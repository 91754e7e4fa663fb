#include "platform/macos/process/MacConsole.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace quillard::macos {
namespace {

// Whether a piece of PIPE_BUF bytes can be written without waiting. A closed output is not a full one.
bool hasRoom(int descriptor) {
  pollfd output{descriptor, POLLOUT, 0};
  return ::poll(&output, 1, 0) > 0;
}

}  // namespace

MacConsole::MacConsole(int descriptor) : descriptor(descriptor) { std::signal(SIGPIPE, SIG_IGN); }

void MacConsole::writeLine(std::string_view line) {
  const MutexLock lock(mutex);
  std::string text(isLineOpen ? "\n" : "");
  text.append(line).append(1, '\n');
  std::string_view rest = text;
  while (!rest.empty() && hasRoom(descriptor)) {
    // In pieces that a pipe takes whole.
    const ssize_t count = ::write(descriptor, rest.data(), std::min<std::size_t>(rest.size(), PIPE_BUF));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    isLineOpen = rest[static_cast<std::size_t>(count) - 1] != '\n';
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace quillard::macos
