#pragma once

#include <string_view>

#include "foundation/Mutex.h"
#include "platform/Console.h"

namespace quillard::macos {

// Lines on a descriptor. A line that its reader has no room for is lost, so that nobody here waits for a reader; a part
// of one is ended before the next one begins. Making one lets the process outlive a reader that went away: the signal
// for that is ignored from then on.
class MacConsole final : public platform::Console {
 public:
  // Does not own `descriptor`.
  explicit MacConsole(int descriptor);

  void writeLine(std::string_view line) override;

 private:
  const int descriptor;
  Mutex mutex;
  bool isLineOpen QUILLARD_GUARDED_BY(mutex) = false;
};

}  // namespace quillard::macos
