#include "platform/linux/storage/PrivateFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <span>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/TextCatalogue.h"
#include "platform/posix/FileDescriptor.h"

namespace quillard::xdg {
namespace {

using posix::FileDescriptor;
using Kind = FileProblem::Kind;

constexpr mode_t kOwnerOnlyFile = 0600;
constexpr mode_t kOwnerOnlyFolder = 0700;
constexpr mode_t kForOthers = 0077;

// Bytes that are overwritten before their memory goes back.
class WipedBuffer {
 public:
  explicit WipedBuffer(std::size_t size) : bytes(size) {}
  WipedBuffer(const WipedBuffer&) = delete;
  WipedBuffer& operator=(const WipedBuffer&) = delete;
  ~WipedBuffer() { wipe(bytes); }
  std::vector<std::uint8_t> bytes;
};

FileProblem systemProblem() {
  const int error = errno;
  if (error == ENOENT) return {Kind::absent, "There is no such file."};
  if (error == ELOOP || error == ENOTDIR) return {Kind::unsafe, catalogued("It is a link, or lies behind one.")};
  return {Kind::system, std::generic_category().message(error) + " (" + std::to_string(error) + ")"};
}

// What is wrong with the owner or the permissions of an open file or folder.
std::optional<FileProblem> problemWith(int descriptor, mode_t kind) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return systemProblem();
  if ((status.st_mode & S_IFMT) != kind)
    return FileProblem{Kind::unsafe, catalogued("It is not a plain file in a folder.")};
  if (status.st_uid != ::geteuid()) return FileProblem{Kind::unsafe, catalogued("It belongs to another user.")};
  if ((status.st_mode & kForOthers) != 0)
    return FileProblem{Kind::unsafe, catalogued("Other users have access to it.")};
  return std::nullopt;
}

std::variant<FileDescriptor, FileProblem> openFolder(const std::string& folder) {
  FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!opened.isOpen()) return systemProblem();
  if (auto problem = problemWith(opened.get(), S_IFDIR)) return *problem;
  return opened;
}

// Makes the folder and those above it. What fails here shows when it is opened.
void makeFolders(const std::string& folder) {
  for (auto end = folder.find('/', 1); end != std::string::npos; end = folder.find('/', end + 1)) {
    ::mkdir(folder.substr(0, end).c_str(), kOwnerOnlyFolder);
  }
  ::mkdir(folder.c_str(), kOwnerOnlyFolder);
}

std::variant<Secret, FileProblem> readAll(int descriptor, std::size_t largest) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return systemProblem();
  // One more, for what is written to it by someone else now.
  const auto length = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
  WipedBuffer buffer(std::min(length, largest) + 1);
  std::size_t size = 0;
  while (size < buffer.bytes.size()) {
    const ssize_t count = ::read(descriptor, buffer.bytes.data() + size, buffer.bytes.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return systemProblem();
    if (count == 0) return Secret(std::span<const std::uint8_t>(buffer.bytes).first(size));
    size += static_cast<std::size_t>(count);
  }
  return FileProblem{Kind::tooLarge, catalogued("The file is too large.")};
}

}  // namespace

PrivateFile::PrivateFile(std::string folder, std::string name, std::size_t largest,
                         std::chrono::milliseconds lockTimeout)
    : folder(std::move(folder)), name(std::move(name)), largest(largest), lockTimeout(lockTimeout) {}

std::variant<Secret, FileProblem> PrivateFile::read() const {
  auto opened = openFolder(folder);
  if (const auto* problem = std::get_if<FileProblem>(&opened)) return *problem;
  // Not blocking, in case something else than a file waits under the name.
  const FileDescriptor file(
      ::openat(std::get<FileDescriptor>(opened).get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) return systemProblem();
  if (auto problem = problemWith(file.get(), S_IFREG)) return *problem;
  return readAll(file.get(), largest);
}

// The lock is on the folder, so that nothing is left behind.
std::shared_ptr<const void> PrivateFile::lock() const {
  constexpr std::chrono::milliseconds kInterval{5};
  makeFolders(folder);
  auto opened = openFolder(folder);
  if (std::holds_alternative<FileProblem>(opened)) return nullptr;
  auto held = std::make_shared<FileDescriptor>(std::get<FileDescriptor>(std::move(opened)));
  const auto end = std::chrono::steady_clock::now() + lockTimeout;
  while (::flock(held->get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) break;  // It knows no locks.
    if (std::chrono::steady_clock::now() >= end) return nullptr;
    std::this_thread::sleep_for(kInterval);
  }
  return held;
}

std::optional<FileProblem> PrivateFile::write(std::string_view bytes) const {
  if (bytes.size() > largest) return FileProblem{Kind::tooLarge, catalogued("The file would become too large.")};
  makeFolders(folder);
  auto opened = openFolder(folder);
  if (const auto* problem = std::get_if<FileProblem>(&opened)) return *problem;
  const int within = std::get<FileDescriptor>(opened).get();
  const std::string unfinished = name + ".new";
  ::unlinkat(within, unfinished.c_str(), 0);
  const FileDescriptor file(
      ::openat(within, unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnlyFile));
  if (!file.isOpen()) return systemProblem();
  if (!posix::writeAll(file.get(), bytes) || ::fsync(file.get()) != 0 ||
      ::renameat(within, unfinished.c_str(), within, name.c_str()) != 0) {
    const FileProblem problem = systemProblem();
    ::unlinkat(within, unfinished.c_str(), 0);
    return problem;
  }
  ::fsync(within);  // The file is in place either way.
  return std::nullopt;
}

std::string PrivateFile::asideName(int number) const { return name + ".damaged-" + std::to_string(number); }

std::optional<std::string> PrivateFile::putAside() const {
  auto opened = openFolder(folder);
  if (std::holds_alternative<FileProblem>(opened)) return std::nullopt;
  const int within = std::get<FileDescriptor>(opened).get();
  for (int number = kMostAside - 1; number >= 1; --number) {
    ::renameat(within, asideName(number).c_str(), within, asideName(number + 1).c_str());
  }
  const std::string aside = asideName(1);
  if (::renameat(within, name.c_str(), within, aside.c_str()) != 0) return std::nullopt;
  // The age of what was put aside counts from now. A link is left as it is.
  struct stat status {};
  if (::fstatat(within, aside.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode)) {
    ::fchmodat(within, aside.c_str(), kOwnerOnlyFile, 0);
  }
  ::utimensat(within, aside.c_str(), nullptr, AT_SYMLINK_NOFOLLOW);
  return aside;
}

void PrivateFile::removeOldAsides() const {
  constexpr int kMostEver = 100;  // Older builds kept so many.
  auto opened = openFolder(folder);
  if (std::holds_alternative<FileProblem>(opened)) return;
  const int within = std::get<FileDescriptor>(opened).get();
  const auto now = std::chrono::system_clock::now();
  for (int number = 1; number <= kMostEver; ++number) {
    const std::string aside = asideName(number);
    struct stat status {};
    if (::fstatat(within, aside.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || S_ISDIR(status.st_mode)) continue;
    // A clock that was set back does not keep it either.
    const auto age = now - std::chrono::system_clock::from_time_t(status.st_mtime);
    if (number > kMostAside || age >= kKeptAside || age <= -kKeptAside) ::unlinkat(within, aside.c_str(), 0);
  }
}

}  // namespace quillard::xdg
