#pragma once

#include <memory>
#include <string_view>

namespace quillard::platform {

enum class LockOutcome {
  acquired,
  heldElsewhere,  // Another process has it.
  unavailable,  // The file could not be opened: a full disk, a folder that is not the user's own, a link in its place.
};

// A lock that this process holds, for as long as the object lives; it also goes with the process, however that ends.
// The file stays behind, empty. Any thread.
class FileLock {
 public:
  FileLock() = default;
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  virtual ~FileLock() = default;
};

struct LockResult {
  LockOutcome outcome = LockOutcome::unavailable;
  std::unique_ptr<FileLock> lock;  // Empty unless acquired. May outlive the `LockFiles` that gave it.
};

// Advisory locks on files of the per-user temporary folder. Main thread.
class LockFiles {
 public:
  virtual ~LockFiles() = default;
  // Opens or makes the file (owner read and write only, links not followed) and locks it whole, without waiting. A
  // process that asks again for what it holds is told that it is held elsewhere.
  [[nodiscard]] virtual LockResult acquire(std::string_view fileName) = 0;
};

}  // namespace quillard::platform
