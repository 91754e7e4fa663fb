#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/process/Console.h"

namespace quillard::platform::simulated {

// Keeps every line. Any thread.
class SimulatedConsole final : public Console {
 public:
  // Oldest first, without line breaks.
  [[nodiscard]] std::vector<std::string> lines() const;
  // The lines so far, which are then forgotten: what came since the last look.
  [[nodiscard]] std::vector<std::string> takeLines();

  void writeLine(std::string_view line) override;

 private:
  mutable Mutex mutex;
  std::vector<std::string> kept QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::platform::simulated
