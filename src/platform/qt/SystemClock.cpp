#include "platform/qt/SystemClock.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/qt/TurnQueue.h"

namespace quillard::qt {

Date SystemClock::now() const {
  return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

Instant SystemClock::monotonicNow() const { return steadyNow(); }

void SystemClock::sleep(Seconds duration) {
  constexpr std::chrono::nanoseconds kLongestPiece = std::chrono::hours{1};  // A deadline that no clock overflows at.
  const Instant end = advanced(steadyNow(), duration);
  for (auto now = steadyNow(); now < end; now = steadyNow()) {
    std::this_thread::sleep_for(std::min(kLongestPiece, end - now));
  }
}

}  // namespace quillard::qt
