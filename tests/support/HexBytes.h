#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace quillard::samples {

// For test data that is known to be hexadecimal.
inline std::vector<std::uint8_t> hexBytes(std::string_view text) {
  const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10); };
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(digit(text[i]) << 4U | digit(text[i + 1])));
  }
  return bytes;
}

}  // namespace quillard::samples
