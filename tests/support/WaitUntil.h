#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace quillard::test {

// For what other processes do: asks again and again, for some time. False when it never was so.
[[nodiscard]] inline bool waitUntil(const std::function<bool()>& isSo) {
  constexpr std::chrono::seconds kLongest{20};
  constexpr std::chrono::milliseconds kBetween{10};
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(kBetween);
  }
  return true;
}

}  // namespace quillard::test
