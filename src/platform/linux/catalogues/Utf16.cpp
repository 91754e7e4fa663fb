#include "platform/linux/catalogues/Utf16.h"

namespace quillard::catalogues {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void append(std::string& out, std::uint32_t c) {
  const auto tail = [&](unsigned shift) { out += static_cast<char>(0x80U | ((c >> shift) & 0x3FU)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0U | (c >> 6U));
    tail(0);
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0U | (c >> 12U));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0U | (c >> 18U));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

std::string utf8FromUtf16(std::string_view bytes, Bytes::Order order) {
  const Bytes units(bytes, order);
  std::string text;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const std::uint32_t unit = *units.number16(at);
    const std::uint32_t next = isHighSurrogate(unit) ? units.number16(at + 2).value_or(0) : 0;
    if (isLowSurrogate(next)) {
      append(text, 0x10000 + ((unit - 0xD800) << 10U) + (next - 0xDC00));
      at += 2;
    } else {
      append(text, isHighSurrogate(unit) || isLowSurrogate(unit) ? kReplacement : unit);
    }
  }
  return text;
}

}  // namespace quillard::catalogues
