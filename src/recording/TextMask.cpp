#include "recording/TextMask.h"

#include <utf8proc.h>

namespace quillard::recording {
namespace {

// Tags are invisible, but spell out ASCII text.
constexpr utf8proc_int32_t kFirstTag = 0xE0000;

// What one character becomes: a character to put in its place, or zero to keep it.
char replacement(utf8proc_int32_t codePoint) {
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LT:
      return 'X';
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
    case UTF8PROC_CATEGORY_NO:
      return '0';
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_PC:
    case UTF8PROC_CATEGORY_PD:
    case UTF8PROC_CATEGORY_PS:
    case UTF8PROC_CATEGORY_PE:
    case UTF8PROC_CATEGORY_PI:
    case UTF8PROC_CATEGORY_PF:
    case UTF8PROC_CATEGORY_PO:
    case UTF8PROC_CATEGORY_SM:
    case UTF8PROC_CATEGORY_SC:
    case UTF8PROC_CATEGORY_SK:
      return '\0';
    case UTF8PROC_CATEGORY_CF:
      return codePoint < kFirstTag ? '\0' : 'x';
    default:
      return 'x';
  }
}

}  // namespace

std::string maskedText(std::string_view text) {
  std::string masked;
  masked.reserve(text.size());
  while (!text.empty()) {
    utf8proc_int32_t codePoint = -1;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    const auto taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    const char put = length > 0 ? replacement(codePoint) : 'x';
    if (put == '\0') {
      masked += text.substr(0, taken);
    } else {
      masked += put;
    }
    text.remove_prefix(taken);
  }
  return masked;
}

}  // namespace quillard::recording
