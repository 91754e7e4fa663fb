#pragma once

#include <atomic>
#include <cstdint>

namespace quillard::atspi {

// What the binding has cost so far. Any thread.
struct AccessibilityCounters {
  std::atomic<std::uint64_t> calls{0};
  // How often a caller had to wait for an answer before the next question could be asked. Questions asked side by side
  // are one wait; of chains that run side by side, the longest counts.
  std::atomic<std::uint64_t> waits{0};
};

}  // namespace quillard::atspi
