#pragma once

#include <cstdint>

#include "platform/simulated/Seed.h"

namespace quillard::platform::simulated {

// A stream of numbers that depends on the seed alone, the same on every system. Not for secrets.
class SeededGenerator {
 public:
  explicit SeededGenerator(Seed seed) : state(seed.value) {}

  // Any of the 2^64 numbers. A counter in steps of an odd constant, its bits stirred: equal seeds never drift apart,
  // and neighbouring seeds have nothing in common.
  std::uint64_t next() {
    state += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }

  // 0 to `count` - 1. `count` is positive, and small beside 2^64: the bias is not corrected.
  std::uint64_t below(std::uint64_t count) { return next() % count; }

 private:
  std::uint64_t state;
};

}  // namespace quillard::platform::simulated
