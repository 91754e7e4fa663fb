#pragma once

#include <functional>

#include "platform/process/Random.h"

namespace quillard::desktop {

// The kernel's generator.
class SystemRandom final : public platform::Random {
 public:
  // False when it could not fill all of `bytes`.
  using Source = std::function<bool(std::span<std::uint8_t> bytes)>;

  SystemRandom();
  // `source` takes the kernel's place; called from any thread.
  explicit SystemRandom(Source source) : source(std::move(source)) {}

  // All zero when it failed.
  [[nodiscard]] bool fillSecurely(std::span<std::uint8_t> bytes) override;
  // Where the generator fails, from what the kernel gave this process at its start, a count and the clock: never the
  // same twice in a process, and not to be guessed by others.
  [[nodiscard]] std::array<std::uint8_t, 16> identityBytes() override;

 private:
  const Source source;
};

}  // namespace quillard::desktop
