#include "platform/macos/process/MacLockFiles.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillard::macos {

using platform::LockOutcome;
using platform::LockResult;

namespace {

constexpr mode_t kOwnerOnly = 0600;

bool isFileName(std::string_view name) {
  constexpr std::string_view kNeverInNames{"/\0", 2};
  return !name.empty() && name != "." && name != ".." && name.find_first_of(kNeverInNames) == std::string_view::npos;
}

bool isOwnFile(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
}

// Negative when there is no such file of this user, and none could be made.
int openFile(const std::string& path) {
  // Not blocking, in case a pipe waits under the name.
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kOwnerOnly);
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

LockResult MacLockFiles::acquire(std::string_view fileName) {
  if (folder.empty() || !isFileName(fileName)) return {LockOutcome::unavailable, -1};
  const int file = openFile(folder + "/" + std::string(fileName));
  if (file < 0) return {LockOutcome::unavailable, -1};
  if (lockWhole(file)) return {LockOutcome::acquired, file};
  ::close(file);
  return {LockOutcome::heldElsewhere, -1};
}

void MacLockFiles::release(std::int32_t descriptor) {
  if (descriptor < 0) return;
  ::flock(descriptor, LOCK_UN);
  ::close(descriptor);
}

}  // namespace quillard::macos
