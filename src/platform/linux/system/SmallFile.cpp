#include "platform/linux/system/SmallFile.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillard::desktop {
namespace {

constexpr mode_t kReadableForAll = 0644;

std::string systemText(int error) { return std::generic_category().message(error); }

class Descriptor {
 public:
  explicit Descriptor(int number) : number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) ::close(number);
  }
  [[nodiscard]] int get() const { return number; }

 private:
  const int number;
};

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return ::fchmod(file, kReadableForAll) == 0 && ::fsync(file) == 0;
}

}  // namespace

std::variant<std::string, SmallFileProblem> readSmallFile(const std::string& path, std::size_t largest) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
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

std::optional<std::string> replaceSmallFile(const std::string& path, std::string_view bytes) {
  std::string unfinished = path + ".XXXXXX";
  const Descriptor file(::mkostemp(unfinished.data(), O_CLOEXEC));
  if (file.get() < 0) return systemText(errno);
  if (writeAll(file.get(), bytes) && ::rename(unfinished.c_str(), path.c_str()) == 0) return std::nullopt;
  const int error = errno;
  ::unlink(unfinished.c_str());
  return systemText(error);
}

}  // namespace quillard::desktop
