#include "platform/linux/system/SmallFile.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/FileDescriptor.h"

namespace quillard::desktop {
namespace {

constexpr mode_t kReadableForAll = 0644;

std::string systemText(int error) { return std::generic_category().message(error); }

bool writeForAll(int file, std::string_view bytes) {
  return posix::writeAll(file, bytes) && ::fchmod(file, kReadableForAll) == 0 && ::fsync(file) == 0;
}

}  // namespace

std::variant<std::string, SmallFileProblem> readSmallFile(const std::string& path, std::size_t largest) {
  const posix::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (file.get() < 0) return SmallFileProblem{errno == ENOENT || errno == ENOTDIR, systemText(errno)};
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return SmallFileProblem{false, systemText(errno)};
  if (!S_ISREG(status.st_mode)) return SmallFileProblem{false, "It is not a plain file"};
  std::string bytes(largest + 1, '\0');
  std::size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t count = ::read(file.get(), bytes.data() + size, bytes.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return SmallFileProblem{false, systemText(errno)};
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  if (size > largest) return SmallFileProblem{false, "It is too large"};
  bytes.resize(size);
  return bytes;
}

std::optional<std::string> smallFileText(const std::string& path, std::size_t largest) {
  auto read = readSmallFile(path, largest);
  auto* const text = std::get_if<std::string>(&read);
  return text ? std::optional(std::move(*text)) : std::nullopt;
}

std::optional<std::string> replaceSmallFile(const std::string& path, std::string_view bytes) {
  std::string unfinished = path + ".XXXXXX";
  const posix::FileDescriptor file(::mkostemp(unfinished.data(), O_CLOEXEC));
  if (file.get() < 0) return systemText(errno);
  if (writeForAll(file.get(), bytes) && ::rename(unfinished.c_str(), path.c_str()) == 0) return std::nullopt;
  const int error = errno;
  ::unlink(unfinished.c_str());
  return systemText(error);
}

}  // namespace quillard::desktop
