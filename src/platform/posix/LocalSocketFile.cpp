#include "platform/posix/LocalSocketFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillard::desktop {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr int kBacklog = 64;

std::optional<sockaddr_un> addressOf(const OpenFolder& folder, const std::string& name) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = folder.path() + "/" + name;
  if (path.size() >= sizeof(address.sun_path)) return std::nullopt;
  std::memcpy(address.sun_path, path.data(), path.size());
  return address;
}

int makeSocket() {
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (descriptor < 0 || prepareSocket(descriptor)) return descriptor;
  ::close(descriptor);
  return -1;
}

std::optional<struct stat> statusIn(const OpenFolder& folder, const std::string& name) {
  struct stat status {};
  if (::fstatat(folder.descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return status;
}

// Binds under `name`, for the user alone, and listens.
bool bindIn(const OpenFolder& folder, const std::string& name, int descriptor) {
  const auto address = addressOf(folder, name);
  return address && ::bind(descriptor, reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) == 0 &&
         ::fchmodat(folder.descriptor(), name.c_str(), kOwnerOnly, 0) == 0 && ::listen(descriptor, kBacklog) == 0;
}

}  // namespace

OpenFolder::~OpenFolder() {
  if (itsDescriptor >= 0) ::close(itsDescriptor);
}

OpenFolder::OpenFolder(OpenFolder&& other) noexcept
    : itsDescriptor(std::exchange(other.itsDescriptor, -1)), itsPath(std::move(other.itsPath)) {}

std::optional<ListeningSocket> listenIn(const OpenFolder& folder, const std::string& name) {
  const std::string made = "." + name + "." + std::to_string(::getpid());
  ::unlinkat(folder.descriptor(), made.c_str(), 0);  // Of an earlier process of the same number.
  const int descriptor = makeSocket();
  if (descriptor < 0) return std::nullopt;
  const auto status = bindIn(folder, made, descriptor) ? statusIn(folder, made) : std::nullopt;
  if (status && ::renameat(folder.descriptor(), made.c_str(), folder.descriptor(), name.c_str()) == 0) {
    return ListeningSocket{descriptor, static_cast<std::uint64_t>(status->st_dev),
                           static_cast<std::uint64_t>(status->st_ino)};
  }
  ::unlinkat(folder.descriptor(), made.c_str(), 0);
  ::close(descriptor);
  return std::nullopt;
}

bool isStillThere(const OpenFolder& folder, const std::string& name, const ListeningSocket& socket) {
  const auto status = statusIn(folder, name);
  return status && S_ISSOCK(status->st_mode) && static_cast<std::uint64_t>(status->st_dev) == socket.device &&
         static_cast<std::uint64_t>(status->st_ino) == socket.file;
}

void touchIn(const OpenFolder& folder, const std::string& name) {
  static_cast<void>(::utimensat(folder.descriptor(), name.c_str(), nullptr, AT_SYMLINK_NOFOLLOW));
}

void removeFrom(const OpenFolder& folder, const std::string& name, const ListeningSocket& socket) {
  if (isStillThere(folder, name, socket)) ::unlinkat(folder.descriptor(), name.c_str(), 0);
}

SocketConnection connectIn(const OpenFolder& folder, const std::string& name) {
  const auto address = addressOf(folder, name);
  const auto status = statusIn(folder, name);
  if (!address || !status) return {};
  if (!S_ISSOCK(status->st_mode) || status->st_uid != ::geteuid()) return {-1, true};
  const int descriptor = makeSocket();
  if (descriptor < 0) return {-1, true};
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) == 0) {
    return {descriptor, false};
  }
  const bool isLeftOver = errno == ECONNREFUSED || errno == ENOENT;
  ::close(descriptor);
  return {-1, !isLeftOver};
}

bool prepareSocket(int descriptor) {
  const int flags = ::fcntl(descriptor, F_GETFL);
  return flags >= 0 && ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0 &&
         ::fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0;
}

}  // namespace quillard::desktop
