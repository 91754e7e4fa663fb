#include "platform/linux/catalogues/CatalogueFile.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "platform/linux/catalogues/CatalogueMessage.h"

namespace quillard::catalogues {
namespace {

bool isShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO || error == EINTR || error == EAGAIN;
}

int openBelow(int root, const char* path) {
  struct open_how how {};
  how.flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_SYMLINKS;
  return static_cast<int>(::syscall(SYS_openat2, root, path, &how, sizeof how));
}

FileIdentity identityOf(const struct stat& status) {
  return {.device = status.st_dev,
          .number = status.st_ino,
          .size = status.st_size,
          .changedSeconds = status.st_ctim.tv_sec,
          .changedNanoseconds = status.st_ctim.tv_nsec};
}

}  // namespace

Folder Folder::rootOf(const std::string& processFolder) {
  return Folder(::open((processFolder + "/root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Folder Folder::systemRoot() { return Folder(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC)); }

// File systems without a device of their own have the major number 0; of those with one, FUSE alone is another program.
bool Folder::isOnDisk() const {
  struct statx status {};
  if (::statx(descriptor, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, 0, &status) != 0 || status.stx_dev_major == 0) {
    return false;
  }
  struct statfs fileSystem {};
  return ::fstatfs(descriptor, &fileSystem) == 0 && fileSystem.f_type != FUSE_SUPER_MAGIC;
}

Folder::~Folder() {
  if (descriptor >= 0) ::close(descriptor);
}

CatalogueFile::Opened CatalogueFile::open(const Folder& root, const std::string& path, std::uint32_t protectingUser) {
  const int descriptor = openBelow(root.get(), path.c_str());
  if (descriptor < 0) return {.file = std::nullopt, .couldNotLook = isShortage(errno)};
  struct stat status {};
  const bool isFile = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size >= 0;
  const bool isTooLarge = isFile && static_cast<std::uint64_t>(status.st_size) > kLargestCatalogue;
  if (!isFile || isTooLarge) {
    ::close(descriptor);
    return {.file = std::nullopt, .isTooLarge = isTooLarge};
  }
  constexpr mode_t kWritableForOthers = S_IWGRP | S_IWOTH;
  const bool isSafe = status.st_uid == protectingUser && (status.st_mode & kWritableForOthers) == 0;
  return {.file = CatalogueFile(descriptor, identityOf(status), isSafe)};
}

CatalogueFile::~CatalogueFile() {
  if (descriptor >= 0) ::close(descriptor);
}

std::optional<std::string> CatalogueFile::read() const {
  std::string bytes(static_cast<std::size_t>(identified.size), '\0');
  std::size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t count = ::pread(descriptor, bytes.data() + size, bytes.size() - size, static_cast<off_t>(size));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace quillard::catalogues
