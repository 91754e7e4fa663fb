#include "platform/simulated/SimulatedRandom.h"

#include <algorithm>

namespace quillard::platform::simulated {

void SimulatedRandom::failNextFills(int calls) {
  const MutexLock lock{mutex};
  failuresLeft = calls;
}

bool SimulatedRandom::fillSecurely(std::span<std::uint8_t> bytes) {
  const MutexLock lock{mutex};
  if (failuresLeft > 0) {
    --failuresLeft;
    std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
    return false;
  }
  fill(bytes);
  return true;
}

std::array<std::uint8_t, 16> SimulatedRandom::identityBytes() {
  std::array<std::uint8_t, 16> bytes{};
  const MutexLock lock{mutex};
  fill(bytes);
  return bytes;
}

void SimulatedRandom::fill(std::span<std::uint8_t> bytes) {
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(generator.next() >> 56U);
}

}  // namespace quillard::platform::simulated
