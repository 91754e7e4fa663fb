#pragma once

#include <string>

#include "platform/process/LockFiles.h"

namespace quillard::macos {

// Locks on files of the user's temporary folder, which the system makes for each user and no other user may enter.
// Programs that the process starts do not inherit a lock.
class MacLockFiles final : public platform::LockFiles {
 public:
  // `folder` is absolute.
  explicit MacLockFiles(std::string folder) : folder(std::move(folder)) {}

  // `fileName` is the name of a file, not a path. Whatever else than a file of this user waits under the name (a link,
  // a pipe, a folder, another user's file), it is left alone, and the lock is unavailable.
  [[nodiscard]] platform::LockResult acquire(std::string_view fileName) override;

 private:
  const std::string folder;
};

}  // namespace quillard::macos
