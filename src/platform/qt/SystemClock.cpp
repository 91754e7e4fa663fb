#include "platform/qt/SystemClock.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

#include "foundation/BrokenPromise.h"
#include "platform/qt/TurnQueue.h"

namespace quillard::qt {
namespace {

// Where the monotonic clock stands still in sleep, the system has another one that does not.
#ifdef CLOCK_BOOTTIME
constexpr clockid_t kContinuousClock = CLOCK_BOOTTIME;
#else
constexpr clockid_t kContinuousClock = CLOCK_MONOTONIC_RAW;
#endif

}  // namespace

Date SystemClock::now() const {
  return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

Instant SystemClock::monotonicNow() const { return steadyNow(); }

std::chrono::milliseconds SystemClock::continuousTime() const {
  std::timespec time{};
  if (::clock_gettime(kContinuousClock, &time) != 0) stopForBrokenPromise("The system has no clock that counts sleep.");
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::seconds{time.tv_sec} +
                                                       std::chrono::nanoseconds{time.tv_nsec});
}

void SystemClock::sleep(Seconds duration) {
  constexpr std::chrono::nanoseconds kLongestPiece = std::chrono::hours{1};  // A deadline that no clock overflows at.
  const Instant end = advanced(steadyNow(), duration);
  for (auto now = steadyNow(); now < end; now = steadyNow()) {
    std::this_thread::sleep_for(std::min(kLongestPiece, end - now));
  }
}

}  // namespace quillard::qt
