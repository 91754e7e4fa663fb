#include "foundation/Uuid.h"

namespace quillard {
namespace {

constexpr std::size_t kTextLength = 36;

bool isHyphenPosition(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

std::optional<unsigned> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return std::nullopt;
}

}  // namespace

Uuid Uuid::fromRandomBytes(std::array<std::uint8_t, 16> bytes) {
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);  // Version 4,
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);  // of the usual variant.
  return Uuid{bytes};
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != kTextLength) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHyphenPosition(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const auto digit = hexDigit(text[i]);
    if (!digit) return std::nullopt;
    bytes[digits / 2] = static_cast<std::uint8_t>(unsigned{bytes[digits / 2]} << 4U | *digit);
    ++digits;
  }
  return Uuid{bytes};
}

std::string Uuid::text() const {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(kTextLength);
  for (const std::uint8_t byte : bytes) {
    if (isHyphenPosition(text.size())) text += '-';
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0x0FU];
  }
  return text;
}

}  // namespace quillard
