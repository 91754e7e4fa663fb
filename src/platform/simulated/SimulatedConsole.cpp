#include "platform/simulated/SimulatedConsole.h"

#include <utility>

namespace quillard::platform::simulated {

std::vector<std::string> SimulatedConsole::lines() const {
  const MutexLock lock{mutex};
  return kept;
}

std::vector<std::string> SimulatedConsole::takeLines() {
  const MutexLock lock{mutex};
  return std::exchange(kept, {});
}

void SimulatedConsole::writeLine(std::string_view line) {
  const MutexLock lock{mutex};
  kept.emplace_back(line);
}

}  // namespace quillard::platform::simulated
