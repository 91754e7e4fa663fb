#include "platform/linux/system/FileLocks.h"

#include <unistd.h>

#include "platform/linux/system/RuntimeFolder.h"
#include "platform/posix/LockedFile.h"

namespace quillard::desktop {

platform::LockResult FileLocks::acquire(std::string_view fileName) {
  const auto folder = openRuntimeFolder(environment);
  if (!folder) return {platform::LockOutcome::unavailable, -1};
  const auto result = lockFileIn(*folder, fileName);
  ::close(*folder);
  return result;
}

void FileLocks::release(std::int32_t descriptor) { unlockFile(descriptor); }

}  // namespace quillard::desktop
