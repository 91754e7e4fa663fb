#include "foundation/PrintableText.h"

#include <utf8proc.h>

namespace quillard {
namespace {

bool isPrintable(utf8proc_int32_t codePoint) {
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_CO:
    case UTF8PROC_CATEGORY_CN:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
      return false;
    default:
      return true;
  }
}

bool isDirectionMark(utf8proc_int32_t codePoint) {
  return codePoint == 0x061C || codePoint == 0x200E || codePoint == 0x200F ||
         (codePoint >= 0x202A && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

bool isPrintableInName(utf8proc_int32_t codePoint) {
  const bool isFormat = utf8proc_category(codePoint) == UTF8PROC_CATEGORY_CF;
  return isFormat ? !isDirectionMark(codePoint) : isPrintable(codePoint);
}

std::string printable(std::string_view text, std::size_t longest, bool (*isKept)(utf8proc_int32_t)) {
  std::string shown;
  while (!text.empty()) {
    utf8proc_int32_t codePoint = -1;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    const std::string_view piece = length > 0 && isKept(codePoint) ? text.substr(0, taken) : "?";
    if (shown.size() + piece.size() > longest) return shown + "...";
    shown += piece;
    text.remove_prefix(taken);
  }
  return shown;
}

}  // namespace

std::string printableText(std::string_view text, std::size_t longest) { return printable(text, longest, isPrintable); }

std::string printableName(std::string_view name, std::size_t longest) {
  return printable(name, longest, isPrintableInName);
}

}  // namespace quillard
