#pragma once

#include "platform/process/Random.h"

namespace quillard::macos {

// The system's secure generator.
class MacRandom final : public platform::Random {
 public:
  // All zero when it failed.
  [[nodiscard]] bool fillSecurely(std::span<std::uint8_t> bytes) override;
  // Where the generator fails, from the C library's, which cannot.
  [[nodiscard]] std::array<std::uint8_t, 16> identityBytes() override;
};

}  // namespace quillard::macos
