#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace quillard {

// The number that decimal digits write, and nothing else: no sign, no blank. Absent: there is none, something else
// stands there, or it is too large. The standard library's own reader is not in every one that this is built with.
[[nodiscard]] constexpr std::optional<std::uint64_t> wholeNumber(std::string_view digits) {
  constexpr std::uint64_t kBase = 10;
  constexpr auto kLargest = std::numeric_limits<std::uint64_t>::max();
  if (digits.empty()) return std::nullopt;
  std::uint64_t number = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return std::nullopt;
    const auto value = static_cast<std::uint64_t>(digit - '0');
    if (number > (kLargest - value) / kBase) return std::nullopt;
    number = number * kBase + value;
  }
  return number;
}

}  // namespace quillard
