#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace quillard {

// Whether a signed 64-bit integer can hold `value` once its fraction is cut off. False for NaN.
[[nodiscard]] inline bool fitsInteger(double value) {
  constexpr double kTwoToThe63 = 9223372036854775808.0;
  return value >= -kTwoToThe63 && value < kTwoToThe63;
}

// The fraction cut off towards zero. What does not fit becomes the nearest integer that there is, NaN zero.
[[nodiscard]] inline std::int64_t truncatedToInteger(double value) {
  if (fitsInteger(value)) return static_cast<std::int64_t>(value);
  if (std::isnan(value)) return 0;
  return value < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
}

}  // namespace quillard
