#pragma once

#include <chrono>

#include "platform/process/Clock.h"

namespace quillard::qt {

// The system's clocks, through the standard library.
class SystemClock final : public platform::Clock {
 public:
  [[nodiscard]] Date now() const override;
  [[nodiscard]] Instant monotonicNow() const override;
  [[nodiscard]] std::chrono::milliseconds continuousTime() const override;
  // Infinite: for good.
  void sleep(Seconds duration) override;
};

}  // namespace quillard::qt
