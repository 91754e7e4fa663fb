#pragma once

#include "foundation/Mutex.h"
#include "platform/process/Console.h"

namespace quillard::desktop {

// Lines on standard output. Whoever reads them may stop reading, or go: an output that is full is waited for at most
// `kTimeoutMilliseconds`, and after a line was lost not at all until there is room again. A line of which only a part
// could be written is ended before the next one begins.
//
// Making one lets the process outlive a reader that went away: the signal for that is ignored from then on.
class StandardOutput final : public platform::Console {
 public:
  static constexpr int kTimeoutMilliseconds = 100;

  StandardOutput();
  // Writes to `descriptor`, which it does not own.
  explicit StandardOutput(int descriptor);

  void writeLine(std::string_view line) override;

 private:
  bool hasRoom() QUILLARD_REQUIRES(mutex);
  bool writeAll(std::string_view bytes) QUILLARD_REQUIRES(mutex);

  const int descriptor;
  Mutex mutex;
  bool isStalled QUILLARD_GUARDED_BY(mutex) = false;
  bool isLineOpen QUILLARD_GUARDED_BY(mutex) = false;
};

}  // namespace quillard::desktop
