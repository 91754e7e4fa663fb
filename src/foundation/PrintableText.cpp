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

}  // namespace

std::string printableText(std::string_view text, std::size_t longest) {
  std::string printable;
  while (!text.empty()) {
    utf8proc_int32_t codePoint = -1;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
    const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    const std::string_view piece = length > 0 && isPrintable(codePoint) ? text.substr(0, taken) : "?";
    if (printable.size() + piece.size() > longest) return printable + "...";
    printable += piece;
    text.remove_prefix(taken);
  }
  return printable;
}

}  // namespace quillard
