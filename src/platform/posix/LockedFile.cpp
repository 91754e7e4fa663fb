#include "platform/posix/LockedFile.h"

#include <cerrno>
#include <memory>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillard::desktop {
namespace {

using platform::LockOutcome;
using platform::LockResult;

constexpr mode_t kOwnerOnly = 0600;

bool isOwnFile(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
}

// Negative when there is no such file of this user, and none could be made.
int openFile(int folder, std::string_view name) {
  // Not blocking, in case a pipe waits under the name.
  const int file = ::openat(folder, std::string(name).c_str(),
                            O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kOwnerOnly);
  if (file < 0) return -1;
  if (isOwnFile(file)) return file;
  ::close(file);
  return -1;
}

bool lockWhole(int file) {
  int result = -1;
  do {
    result = ::flock(file, LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

bool isFileName(std::string_view name) {
  constexpr std::string_view kNeverInNames{"/\0", 2};
  return !name.empty() && name != "." && name != ".." && name.find_first_of(kNeverInNames) == std::string_view::npos;
}

LockedFile::~LockedFile() {
  ::flock(itsDescriptor, LOCK_UN);
  ::close(itsDescriptor);
}

LockResult lockFileIn(int folder, std::string_view name) {
  if (!isFileName(name)) return {LockOutcome::unavailable, nullptr};
  const int file = openFile(folder, name);
  if (file < 0) return {LockOutcome::unavailable, nullptr};
  if (lockWhole(file)) return {LockOutcome::acquired, std::make_unique<LockedFile>(file)};
  ::close(file);
  return {LockOutcome::heldElsewhere, nullptr};
}

}  // namespace quillard::desktop
