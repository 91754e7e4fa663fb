#include "platform/posix/PrivateLogFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/FileDescriptor.h"

namespace quillard::desktop {
namespace {

using platform::AppendOnlyFile;
using platform::FileCode;
using platform::FileStatus;
using posix::FileDescriptor;
using posix::writeAll;

constexpr mode_t kOwnerOnlyFile = 0600;
constexpr mode_t kOwnerOnlyFolder = 0700;
constexpr mode_t kForOthers = 0077;

using Opened = std::variant<FileDescriptor, FileStatus>;

FileStatus systemProblem() {
  const int error = errno;
  if (error == ENOENT) return {FileCode::absent, "There is no such file."};
  if (error == ELOOP || error == ENOTDIR) return {FileCode::unsafe, "It is a link, or lies behind one."};
  const bool isFull = error == ENOSPC || error == EDQUOT;
  return {isFull ? FileCode::noSpace : FileCode::failed,
          std::generic_category().message(error) + " (" + std::to_string(error) + ")"};
}

// Of an open file or folder; `success`: it is this user's alone.
FileStatus ownership(int descriptor, mode_t kind) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return systemProblem();
  if ((status.st_mode & S_IFMT) != kind) return {FileCode::unsafe, "It is not a plain file in a folder."};
  if (status.st_uid != ::geteuid()) return {FileCode::unsafe, "It belongs to another user."};
  if ((status.st_mode & kForOthers) != 0) return {FileCode::unsafe, "Other users have access to it."};
  return {};
}

Opened checked(FileDescriptor opened, mode_t kind) {
  if (!opened.isOpen()) return systemProblem();
  if (auto status = ownership(opened.get(), kind); status.code != FileCode::success) return status;
  return opened;
}

Opened openFolder(const std::string& folder) {
  return checked(FileDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)), S_IFDIR);
}

// What fails here shows when it is opened.
void makeFolders(const std::string& folder) {
  for (auto end = folder.find('/', 1); end != std::string::npos; end = folder.find('/', end + 1)) {
    ::mkdir(folder.substr(0, end).c_str(), kOwnerOnlyFolder);
  }
  ::mkdir(folder.c_str(), kOwnerOnlyFolder);
}

// Not blocking, in case something else than a file waits under the name.
Opened openFile(int folder, const std::string& name, int flags) {
  return checked(
      FileDescriptor(::openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, kOwnerOnlyFile)),
      S_IFREG);
}

platform::FileReading readAll(int descriptor) {
  std::string bytes;
  std::array<char, 65536> piece{};
  while (bytes.size() <= AppendOnlyFile::kLongest) {
    const ssize_t count = ::read(descriptor, piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return {systemProblem()};
    if (count == 0) return {{}, std::move(bytes)};
    bytes.append(piece.data(), static_cast<std::size_t>(count));
  }
  return {{FileCode::tooLarge, "The file is too large."}};
}

// The part that was written goes again.
FileStatus appendTo(int file, std::string_view bytes, std::size_t length) {
  struct stat status {};
  if (::fstat(file, &status) != 0) return systemProblem();
  if (status.st_size != static_cast<off_t>(length)) return {FileCode::changed, "It has another length."};
  if (writeAll(file, bytes)) return {};
  auto problem = systemProblem();
  if (::ftruncate(file, static_cast<off_t>(length)) != 0) problem.text += " A part of it stays.";
  return problem;
}

FileStatus writeNew(int folder, const std::string& unfinished, const std::string& name, std::string_view bytes) {
  ::unlinkat(folder, unfinished.c_str(), 0);
  const auto opened = openFile(folder, unfinished, O_WRONLY | O_CREAT | O_EXCL);
  if (const auto* problem = std::get_if<FileStatus>(&opened)) return *problem;
  const int file = std::get<FileDescriptor>(opened).get();
  const bool isThere =
      writeAll(file, bytes) && ::fsync(file) == 0 && ::renameat(folder, unfinished.c_str(), folder, name.c_str()) == 0;
  if (!isThere) {
    const auto problem = systemProblem();
    ::unlinkat(folder, unfinished.c_str(), 0);
    return problem;
  }
  ::fsync(folder);  // The file is in place either way.
  return {};
}

}  // namespace

platform::FileReading PrivateLogFile::read() {
  const auto within = openFolder(folder);
  if (const auto* problem = std::get_if<FileStatus>(&within)) return {*problem};
  const auto opened = openFile(std::get<FileDescriptor>(within).get(), name, O_RDONLY);
  if (const auto* problem = std::get_if<FileStatus>(&opened)) return {*problem};
  return readAll(std::get<FileDescriptor>(opened).get());
}

FileStatus PrivateLogFile::append(std::string_view bytes, std::size_t length) {
  if (length + bytes.size() > kLongest) return {FileCode::tooLarge, "The file would become too large."};
  if (length == 0) makeFolders(folder);
  const auto within = openFolder(folder);
  if (const auto* problem = std::get_if<FileStatus>(&within)) return *problem;
  const auto opened =
      openFile(std::get<FileDescriptor>(within).get(), name, O_WRONLY | O_APPEND | (length == 0 ? O_CREAT : 0));
  if (const auto* problem = std::get_if<FileStatus>(&opened)) {
    return problem->code == FileCode::absent ? FileStatus{FileCode::changed, problem->text} : *problem;
  }
  return appendTo(std::get<FileDescriptor>(opened).get(), bytes, length);
}

FileStatus PrivateLogFile::replace(std::string_view bytes) {
  if (bytes.size() > kLongest) return {FileCode::tooLarge, "The file would become too large."};
  makeFolders(folder);
  const auto within = openFolder(folder);
  if (const auto* problem = std::get_if<FileStatus>(&within)) return *problem;
  return writeNew(std::get<FileDescriptor>(within).get(), name + ".new", name, bytes);
}

// A second name for it first, which fails where that is taken, so that no file is lost by a rename.
std::optional<std::string> PrivateLogFile::putAside() {
  const auto opened = openFolder(folder);
  if (std::holds_alternative<FileStatus>(opened)) return std::nullopt;
  const int within = std::get<FileDescriptor>(opened).get();
  for (int number = 1; number <= kMostAside; ++number) {
    const std::string aside = name + ".damaged-" + std::to_string(number);
    if (::linkat(within, name.c_str(), within, aside.c_str(), 0) == 0) {
      if (::unlinkat(within, name.c_str(), 0) == 0) return aside;
      ::unlinkat(within, aside.c_str(), 0);
      return std::nullopt;
    }
    if (errno != EEXIST) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace quillard::desktop
