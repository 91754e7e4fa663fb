#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace quillard::benchmarks {

// One line of the table that `benchmarks/run` prints. Two figures of one run, measured in turns, and how they relate:
// absolute times belong to one machine.
struct Figure {
  std::string what;
  std::string beside;
  double own = 0;
  double other = 0;
  std::string unit;
  std::string goal;
};

// The middle one; of an even number, the higher of the two. 0 of none.
[[nodiscard]] inline double medianOf(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

inline void print(const Figure& figure) {
  const double ratio = figure.own > 0 ? figure.other / figure.own : 0;
  std::printf("| %s | %s | %.4g | %.4g %s | %.3g | %s |\n", figure.what.c_str(), figure.beside.c_str(), figure.own,
              figure.other, figure.unit.c_str(), ratio, figure.goal.c_str());
  std::fflush(stdout);
}

}  // namespace quillard::benchmarks
