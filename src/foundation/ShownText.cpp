#include "foundation/ShownText.h"

#include <array>

#include "foundation/Text.h"

namespace quillard::text {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMarkBytes = 3;

// All of them take three bytes.
bool isInvisibleMark(std::string_view bytes) {
  if (bytes.size() < kMarkBytes) return false;
  const auto last = static_cast<unsigned char>(bytes[2]);
  if (bytes.starts_with("\xE2\x80"sv)) return (last >= 0x8B && last <= 0x8F) || (last >= 0xAA && last <= 0xAE);
  if (bytes.starts_with("\xE2\x81"sv)) return last >= 0xA0 && last <= 0xA9;
  return bytes.starts_with("\xEF\xBB\xBF"sv);
}

bool isMnemonic(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }

// What may stand behind the tail: the end of a label that opens something, or of one for a field.
std::string_view endingOf(std::string_view text) {
  constexpr std::array kEndings{"..."sv, "…"sv, ":"sv, "："sv};
  for (const auto ending : kEndings) {
    if (text.ends_with(ending)) return ending;
  }
  return {};
}

bool takeEnd(std::string_view& text, std::string_view end) {
  if (!text.ends_with(end)) return false;
  text.remove_suffix(end.size());
  return true;
}

// Takes the tail off; false when there is none.
bool takeTail(std::string_view& text) {
  const bool isWide = takeEnd(text, "）");
  if (!isWide && !takeEnd(text, ")")) return false;
  if (text.empty() || !isMnemonic(text.back())) return false;
  text.remove_suffix(1);
  if (!takeEnd(text, "_")) takeEnd(text, "&");
  if (!takeEnd(text, isWide ? "（" : "(")) return false;
  while (takeEnd(text, " ")) {
  }
  return !text.empty() && static_cast<unsigned char>(text.back()) >= 0x80;
}

}  // namespace

std::string withoutDirectionMarks(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const bool isMark = static_cast<unsigned char>(text[i]) >= 0xE2 && isInvisibleMark(text.substr(i));
    if (!isMark) kept += text[i];
    i += isMark ? kMarkBytes : 1;
  }
  return kept;
}

std::string withoutMnemonicTail(std::string_view text) {
  std::string_view stem = text;
  while (takeEnd(stem, " ")) {
  }
  const auto ending = endingOf(stem);
  stem.remove_suffix(ending.size());
  while (takeEnd(stem, " ")) {
  }
  if (!takeTail(stem)) return std::string(text);
  return std::string(stem) + std::string(ending);
}

bool holdsQuestion(std::string_view text) {
  constexpr std::array<std::string_view, 5> kMarks{"?", "？", "؟", "¿", "\u037E"};
  return containsAny(text, kMarks);
}

std::string withoutMarks(std::string_view text) { return withoutMnemonicTail(withoutDirectionMarks(text)); }

}  // namespace quillard::text
