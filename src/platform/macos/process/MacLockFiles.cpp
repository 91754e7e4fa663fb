#include "platform/macos/process/MacLockFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/posix/LockedFile.h"

namespace quillard::macos {

platform::LockResult MacLockFiles::acquire(std::string_view fileName) {
  const int opened = folder.empty() ? -1 : ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return {platform::LockOutcome::unavailable, nullptr};
  auto result = desktop::lockFileIn(opened, fileName);
  ::close(opened);
  return result;
}

}  // namespace quillard::macos
