#pragma once

#include <chrono>
#include <cstdint>

namespace quillard::relayserver {

// For waiting and measuring. Nothing below the sockets asks a clock: the time is handed in.
using Instant = std::chrono::steady_clock::time_point;
using Duration = std::chrono::steady_clock::duration;

// The same moment on both clocks.
struct Moment {
  Instant instant;
  std::int64_t epochSeconds = 0;  // For what outlives the process.
};

}  // namespace quillard::relayserver
