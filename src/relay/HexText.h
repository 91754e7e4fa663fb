#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quillard {

// Two lower-case digits a byte.
[[nodiscard]] inline std::string hexText(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0x0FU];
  }
  return text;
}

}  // namespace quillard
