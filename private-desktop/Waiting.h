#pragma once

#include <chrono>
#include <thread>

namespace quillard::privatedesktop {

// How long to wait for what should come immediately: long enough for a busy machine, since only failures use it up.
inline constexpr std::chrono::seconds kTimeout{20};

// Waits until `condition` is true, and says whether it became so. It is asked every few milliseconds, and one last time
// when the timeout is over.
template <typename Condition>
[[nodiscard]] bool waitFor(const Condition& condition, std::chrono::milliseconds timeout = kTimeout) {
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return condition();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace quillard::privatedesktop
