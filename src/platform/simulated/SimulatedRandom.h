#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "foundation/Mutex.h"
#include "platform/process/Random.h"
#include "platform/simulated/Seed.h"
#include "platform/simulated/SeededGenerator.h"

namespace quillard::platform::simulated {

// Bytes that depend on the seed and on the order of the calls. Any thread.
class SimulatedRandom final : public Random {
 public:
  explicit SimulatedRandom(Seed seed) : generator(seed) {}

  // The next `calls` calls of `fillSecurely` fail. Zero: none does.
  void failNextFills(int calls);

  [[nodiscard]] bool fillSecurely(std::span<std::uint8_t> bytes) override;
  [[nodiscard]] std::array<std::uint8_t, 16> identityBytes() override;

 private:
  void fill(std::span<std::uint8_t> bytes) QUILLARD_REQUIRES(mutex);

  Mutex mutex;
  SeededGenerator generator QUILLARD_GUARDED_BY(mutex);
  int failuresLeft QUILLARD_GUARDED_BY(mutex) = 0;
};

}  // namespace quillard::platform::simulated
