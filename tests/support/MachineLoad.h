#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

namespace quillard::test {

// A limit for something that takes `limit` on a machine with nothing else to do: more while other programs use the
// processors too, in proportion to the load of the last minute. Printed when it is more.
template <typename Duration>
[[nodiscard]] std::chrono::milliseconds onThisMachine(Duration limit) {
  constexpr double kQuiet = 0.5;  // Of a processor: below that, the test itself is the load.
  constexpr double kFactor = 10;  // For each program that competes for a processor.
  double load = 0;
  std::ifstream("/proc/loadavg") >> load;
  const double perProcessor = load / std::max(1U, std::thread::hardware_concurrency());
  const auto quiet = std::chrono::duration_cast<std::chrono::milliseconds>(limit);
  if (perProcessor <= kQuiet) return quiet;
  const std::chrono::milliseconds busy(
      static_cast<long long>(static_cast<double>(quiet.count()) * std::max(kFactor, kFactor * perProcessor)));
  std::printf("The machine is busy (load %.1f): %lld ms are enough instead of %lld.\n", load,
              static_cast<long long>(busy.count()), static_cast<long long>(quiet.count()));
  return busy;
}

}  // namespace quillard::test
