#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillard {

// Bytes as text: two lower-case digits each. Upper-case ones are not read.
inline constexpr std::string_view kHexDigits = "0123456789abcdef";

inline void appendHex(std::uint8_t byte, std::string& text) {
  text += kHexDigits[byte >> 4U];
  text += kHexDigits[byte & 0x0FU];
}

[[nodiscard]] inline std::string hexText(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) appendHex(byte, text);
  return text;
}

// Of a text that may hold any bytes.
[[nodiscard]] inline std::string hexText(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char byte : bytes) appendHex(static_cast<std::uint8_t>(byte), text);
  return text;
}

// Absent: one of them is no digit.
[[nodiscard]] inline std::optional<std::uint8_t> hexByte(char high, char low) {
  const auto upper = kHexDigits.find(high);
  const auto lower = kHexDigits.find(low);
  if (upper == std::string_view::npos || lower == std::string_view::npos) return std::nullopt;
  return static_cast<std::uint8_t>(upper << 4U | lower);
}

// Absent: it is no such text.
[[nodiscard]] inline std::optional<std::vector<std::uint8_t>> bytesOfHex(std::string_view text) {
  if (text.size() % 2 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const auto byte = hexByte(text[i], text[i + 1]);
    if (!byte) return std::nullopt;
    bytes.push_back(*byte);
  }
  return bytes;
}

}  // namespace quillard
