#pragma once

#include <chrono>

#include "values/Time.h"

namespace quillard::platform {

// Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  // The wall clock. May be set back or forth by the user: for what people read and what is stored, never for waiting.
  [[nodiscard]] virtual Date now() const = 0;

  // Never goes back, and goes on while the computer sleeps only where the system's own monotonic clock does.
  [[nodiscard]] virtual Instant monotonicNow() const = 0;

  // How long it is since a fixed moment that means nothing, in which the computer's sleep counts. Never goes back, and
  // is never set. For how old something is when the computer may have slept meanwhile; never for waiting.
  [[nodiscard]] virtual std::chrono::milliseconds continuousTime() const = 0;

  // Blocks the calling thread for at least `duration`; zero or less returns immediately. Never on the main thread,
  // except where a pause of it is meant.
  virtual void sleep(Seconds duration) = 0;
};

}  // namespace quillard::platform
