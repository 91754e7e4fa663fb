#pragma once

#include <string>
#include <utility>

#include "platform/process/Executors.h"
#include "platform/process/LockFiles.h"

namespace quillard::macos {

// Locks on files of the user's temporary folder, which the system makes for each user and no other user may enter.
// Programs that the process starts do not inherit a lock.
//
// The system tidies that folder: files that were not used for three days go, locked or not, and the next process would
// lock a new file of the same name. So a file that is held is touched every few hours, and made and locked again should
// it have gone all the same (after a long sleep of the computer). Main thread.
class MacLockFiles final : public platform::LockFiles {
 public:
  static constexpr Seconds kTouchInterval{6.0 * 60 * 60};

  // `folder` is absolute. `mainThread` outlives this and the locks.
  MacLockFiles(std::string folder, platform::SerialExecutor& mainThread)
      : folder(std::move(folder)), mainThread(mainThread) {}

  // `fileName` is the name of a file, not a path. Whatever else than a file of this user waits under the name (a link,
  // a pipe, a folder, another user's file), it is left alone, and the lock is unavailable.
  [[nodiscard]] platform::LockResult acquire(std::string_view fileName) override;

 private:
  const std::string folder;
  platform::SerialExecutor& mainThread;
};

}  // namespace quillard::macos
