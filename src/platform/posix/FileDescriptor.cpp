#include "platform/posix/FileDescriptor.h"

#include <cerrno>
#include <cstddef>

namespace quillard::posix {

bool writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count == 0) errno = ENOSPC;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace quillard::posix
