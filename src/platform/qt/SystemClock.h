#pragma once

#include "platform/Clock.h"

namespace quillard::qt {

// The system's clocks, through the standard library.
class SystemClock final : public platform::Clock {
 public:
  [[nodiscard]] platform::Date now() const override;
  [[nodiscard]] platform::Instant monotonicNow() const override;
  // Infinite: for good.
  void sleep(platform::Seconds duration) override;
};

}  // namespace quillard::qt
