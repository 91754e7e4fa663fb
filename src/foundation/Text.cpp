#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <optional>

#include <utf8proc.h>

namespace quillard::text {
namespace {

// One character and the bytes it takes; a byte that begins no character stands for itself, without a code point.
struct Piece {
  std::string_view bytes;
  std::optional<utf8proc_int32_t> codePoint;
};

Piece firstPiece(std::string_view text) {
  if (static_cast<unsigned char>(text.front()) < 0x80) return {text.substr(0, 1), text.front()};
  utf8proc_int32_t codePoint = -1;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
  if (length <= 0) return {text.substr(0, 1), std::nullopt};
  return {text.substr(0, static_cast<std::size_t>(length)), codePoint};
}

// The White_Space property: the separators, and the few control characters that move the cursor.
bool isWhiteSpace(const Piece& piece) {
  if (!piece.codePoint) return false;
  const auto c = *piece.codePoint;
  if (c == 0x20 || (c >= 0x09 && c <= 0x0D)) return true;
  if (c < 0x80) return false;
  const auto category = utf8proc_category(c);
  return c == 0x85 || category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP;
}

bool isVisibleAscii(char c) { return c > ' ' && static_cast<unsigned char>(c) < 0x80; }

// What begins `text` without blanks and without characters of more than one byte. Most of any text is such words, and
// they are handled whole: some texts are megabytes.
std::string_view asciiWord(std::string_view text) {
  return text.substr(
      0, static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isVisibleAscii) - text.begin()));
}

void appendLowercasedAscii(std::string& out, std::string_view word) {
  const std::size_t begin = out.size();
  out += word;
  for (std::size_t i = begin; i < out.size(); ++i) {
    if (out[i] >= 'A' && out[i] <= 'Z') out[i] = static_cast<char>(out[i] + ('a' - 'A'));
  }
}

void appendLowercased(std::string& out, const Piece& piece) {
  if (!piece.codePoint) {
    out += piece.bytes;
    return;
  }
  const auto c = *piece.codePoint;
  if (c < 0x80) return appendLowercasedAscii(out, piece.bytes);
  std::array<utf8proc_uint8_t, 4> encoded{};
  const auto length = utf8proc_encode_char(utf8proc_tolower(c), encoded.data());
  out.append(reinterpret_cast<const char*>(encoded.data()), static_cast<std::size_t>(length));
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  while (!text.empty()) {
    const Piece piece = firstPiece(text);
    if (!piece.codePoint) return false;
    text.remove_prefix(piece.bytes.size());
  }
  return true;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty()) {
    const Piece piece = firstPiece(text);
    if (!isWhiteSpace(piece)) break;
    text.remove_prefix(piece.bytes.size());
  }
  // From the back, a character is found by its first byte: white space takes at most three.
  for (bool goesOn = true; goesOn && !text.empty();) {
    goesOn = false;
    for (std::size_t length = 1; length <= std::min<std::size_t>(3, text.size()); ++length) {
      const auto tail = text.substr(text.size() - length);
      const Piece piece = firstPiece(tail);
      if (piece.bytes.size() == length && isWhiteSpace(piece)) {
        text.remove_suffix(length);
        goesOn = true;
        break;
      }
    }
  }
  return text;
}

std::string lowercased(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::string_view word = asciiWord(text);
    appendLowercasedAscii(out, word);
    text.remove_prefix(word.size());
    if (text.empty()) break;
    const Piece piece = firstPiece(text);
    appendLowercased(out, piece);
    text.remove_prefix(piece.bytes.size());
  }
  return out;
}

std::string normalized(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  bool blankIsDue = false;
  while (!text.empty()) {
    const Piece piece = firstPiece(text);
    if (isWhiteSpace(piece)) {
      text.remove_prefix(piece.bytes.size());
      blankIsDue = !out.empty();
      continue;
    }
    if (blankIsDue) out += ' ';
    blankIsDue = false;
    if (const std::string_view word = asciiWord(text); !word.empty()) {
      appendLowercasedAscii(out, word);
      text.remove_prefix(word.size());
    } else {
      appendLowercased(out, piece);
      text.remove_prefix(piece.bytes.size());
    }
  }
  return out;
}

bool containsAny(std::string_view text, std::span<const std::string_view> parts) {
  return std::any_of(parts.begin(), parts.end(),
                     [&](std::string_view part) { return text.find(part) != std::string_view::npos; });
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string out;
  for (const auto& part : parts) {
    if (&part != &parts.front()) out += separator;
    out += part;
  }
  return out;
}

}  // namespace quillard::text
