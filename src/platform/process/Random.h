#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace quillard::platform {

// Any thread.
class Random {
 public:
  virtual ~Random() = default;

  // Fills `bytes` from the system's secure generator. False when the generator failed: `bytes` are all zero then, and
  // must not be used.
  [[nodiscard]] virtual bool fillSecurely(std::span<std::uint8_t> bytes) = 0;

  // Sixteen random bytes for an identity. Always succeeds; the caller sets the version and variant bits.
  [[nodiscard]] virtual std::array<std::uint8_t, 16> identityBytes() = 0;
};

}  // namespace quillard::platform
