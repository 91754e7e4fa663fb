#pragma once

#include <chrono>
#include <cstdint>

namespace quillard::relayserver {

// For waiting and measuring. The rules read no clock: they take the time as a parameter.
using Instant = std::chrono::steady_clock::time_point;
using Duration = std::chrono::steady_clock::duration;

// One point in time on both clocks.
struct Moment {
  Instant instant;
  std::int64_t epochSeconds = 0;  // Seconds since 1970, for what is stored.
};

}  // namespace quillard::relayserver
