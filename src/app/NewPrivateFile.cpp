#include "app/NewPrivateFile.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace quillard::app {
namespace {

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

std::optional<std::string> writeNewPrivateFile(const std::string& path, std::string_view bytes) {
  constexpr int kOwnerOnly = 0600;
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly);
  if (file < 0) return std::generic_category().message(errno);
  const bool isWritten = writeAll(file, bytes);
  int error = errno;
  const bool isClosed = ::close(file) == 0;
  if (isWritten && isClosed) return std::nullopt;
  if (isWritten) error = errno;
  ::unlink(path.c_str());
  return std::generic_category().message(error);
}

}  // namespace quillard::app
