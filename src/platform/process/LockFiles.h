#pragma once

#include <cstdint>
#include <string_view>

namespace quillard::platform {

enum class LockOutcome {
  acquired,
  heldElsewhere,  // Another process has it.
  unavailable,  // The file could not be opened: a full disk, a folder that is not the user's own, a link in its place.
};

struct LockResult {
  LockOutcome outcome = LockOutcome::unavailable;
  std::int32_t descriptor = -1;  // Negative unless acquired.
};

// Advisory locks on files of the per-user temporary folder. Main thread.
class LockFiles {
 public:
  virtual ~LockFiles() = default;
  // Opens or makes the file (owner read and write only, links not followed) and locks it whole, without waiting.
  [[nodiscard]] virtual LockResult acquire(std::string_view fileName) = 0;
  // Unlocks and closes. `descriptor` comes from `acquire`, once.
  virtual void release(std::int32_t descriptor) = 0;
};

}  // namespace quillard::platform
