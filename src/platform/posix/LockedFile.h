#pragma once

#include <string_view>

#include "platform/process/LockFiles.h"

namespace quillard::desktop {

// The lock on an open file, which this owns and closes. Programs that the process starts inherit neither.
class LockedFile final : public platform::FileLock {
 public:
  // `descriptor`: of a file on which this process has the lock.
  explicit LockedFile(int descriptor) : itsDescriptor(descriptor) {}
  ~LockedFile() override;

  [[nodiscard]] int descriptor() const { return itsDescriptor; }

 private:
  const int itsDescriptor;
};

// Whether `name` is the name of a file, and no path.
[[nodiscard]] bool isFileName(std::string_view name);

// Takes the lock on the file `name` of the open `folder`, which stays the caller's; the file is made when it is
// missing, for its owner alone. Unavailable when `name` is no name of a file, and when something else than a file of
// this user waits there (a link, a pipe, a folder, another user's file), which is left alone. The lock that it gives is
// a `LockedFile`. Any thread.
[[nodiscard]] platform::LockResult lockFileIn(int folder, std::string_view name);

}  // namespace quillard::desktop
