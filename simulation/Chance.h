#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/simulated/SeededGenerator.h"
#include "values/Time.h"

namespace quillard::simulation {

// What one owner of the world leaves to chance. Each owner has a stream of its own, so that a change in one does not
// move what the others do.
class Chance {
 public:
  // `stream`: tells the owners of one seed apart.
  Chance(std::uint64_t seed, std::uint64_t stream) : generator(streamSeed(seed, stream)) {}

  // 0 to `count` - 1. `count` is positive.
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(generator.below(count)); }
  // Both ends included.
  int between(int lowest, int highest) {
    return lowest + static_cast<int>(below(static_cast<std::size_t>(highest - lowest + 1)));
  }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  // To the millisecond, so that traces are readable.
  Seconds seconds(double shortest, double longest) {
    const auto milliseconds = static_cast<std::size_t>((longest - shortest) * 1000);
    return Seconds{shortest + static_cast<double>(below(milliseconds + 1)) / 1000};
  }
  // `from` is not empty.
  template <class Item>
  const Item& pick(const std::vector<Item>& from) {
    return from[below(from.size())];
  }

 private:
  // Stirred twice, since streams that are steps of one another would live the same world a step later.
  static platform::simulated::Seed streamSeed(std::uint64_t seed, std::uint64_t stream) {
    platform::simulated::SeededGenerator first(platform::simulated::Seed{seed});
    platform::simulated::SeededGenerator second(platform::simulated::Seed{first.next() ^ (stream << 32U)});
    return {second.next()};
  }

  platform::simulated::SeededGenerator generator;
};

}  // namespace quillard::simulation
