#pragma once

#include "platform/process/Environment.h"
#include "platform/process/LockFiles.h"

namespace quillard::desktop {

// Locks on files of the user's own folder for the session (see RuntimeFolder.h). Programs that
// the process starts do not inherit a lock.
class FileLocks final : public platform::LockFiles {
 public:
  // `environment` outlives this.
  explicit FileLocks(const platform::Environment& environment) : environment(environment) {}

  // `fileName` is the name of a file, not a path. Whatever else than a file of this user waits under the name (a link,
  // a pipe, a folder, another user's file), it is left alone, and the lock is unavailable.
  [[nodiscard]] platform::LockResult acquire(std::string_view fileName) override;

 private:
  const platform::Environment& environment;
};

}  // namespace quillard::desktop
