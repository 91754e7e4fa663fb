#pragma once

#include <chrono>
#include <optional>

namespace quillard::demo {

// Ctrl-C and its like, taken in turn instead of ending this process on the spot, and the ends of children. Make it
// before any child is started.
class EndSignals {
 public:
  EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals();

  // The first signal that asked for the end. Absent: none has come.
  [[nodiscard]] std::optional<int> requested();
  // Readable when a signal has come, or a child has ended; `requested` then takes them.
  [[nodiscard]] int descriptor() const { return signals; }

 private:
  int signals = -1;
  std::optional<int> first;
};

}  // namespace quillard::demo
