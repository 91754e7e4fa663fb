#pragma once

#include <cstdlib>

namespace quillard::benchmarks {

// How often a body does what it measures: `count`, or a small part of it, 1 at least, where the benchmarks run as tests
// (QUILLARD_SMALL_BENCHMARKS is set): then it is enough that they work.
template <class Count>
[[nodiscard]] Count sized(Count count) {
  constexpr Count kSmaller = 20;
  if (std::getenv("QUILLARD_SMALL_BENCHMARKS") == nullptr) return count;
  return count < kSmaller ? Count{1} : count / kSmaller;
}

}  // namespace quillard::benchmarks
