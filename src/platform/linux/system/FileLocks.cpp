#include "platform/linux/system/FileLocks.h"

#include <unistd.h>

#include "platform/linux/system/RuntimeFolder.h"
#include "platform/posix/LockedFile.h"

namespace quillard::desktop {

platform::LockResult FileLocks::acquire(std::string_view fileName) {
  const auto folder = openRuntimeFolder(environment);
  if (!folder) return {platform::LockOutcome::unavailable, nullptr};
  auto result = lockFileIn(*folder, fileName);
  ::close(*folder);
  return result;
}

}  // namespace quillard::desktop
