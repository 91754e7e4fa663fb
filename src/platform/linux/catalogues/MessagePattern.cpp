#include "platform/linux/catalogues/MessagePattern.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/linux/catalogues/ComparableText.h"

namespace quillard::catalogues {
namespace {

constexpr std::size_t kMostPlaceholders = 16;
constexpr std::size_t kFewestLetters = 8;
constexpr std::size_t kLongestPlaceholder = 64;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isPlaceholderCharacter(char c) {
  return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-' || c == '.';
}

std::size_t countWhile(std::string_view text, bool (*belongs)(char)) {
  std::size_t count = 0;
  while (count < text.size() && belongs(text[count])) ++count;
  return count;
}

char at(std::string_view text, std::size_t index) { return index < text.size() ? text[index] : '\0'; }

// "%(name)s".
std::size_t pythonPlaceholder(std::string_view text) {
  if (at(text, 1) != '(') return 0;
  const auto end = text.substr(0, kLongestPlaceholder).find(')');
  return end != std::string_view::npos && end + 1 < text.size() ? end + 2 : 0;
}

// "%PLACE%".
std::size_t customPlaceholder(std::string_view text) {
  const auto name = countWhile(text.substr(1), [](char c) { return (c >= 'A' && c <= 'Z') || c == '_' || isDigit(c); });
  return name >= 2 && name < kLongestPlaceholder && at(text, name + 1) == '%' ? name + 2 : 0;
}

// "%s", "%1$s", "%-5ld"; a blank as a flag is not taken, or "100 % sure" would have one.
std::size_t cPlaceholder(std::string_view text) {
  std::size_t i = 1;
  const auto skip = [&](std::string_view set) {
    while (i < text.size() && set.find(text[i]) != std::string_view::npos) ++i;
  };
  const auto digits = countWhile(text.substr(i), isDigit);
  if (digits > 0 && at(text, i + digits) == '$') i += digits + 1;
  skip("-+#0'I");
  skip("0123456789*");
  if (at(text, i) == '.') {
    ++i;
    skip("0123456789*");
  }
  skip("hlLqjzt");
  constexpr std::string_view kConversions = "diouxXeEfFgGaAcsSpn@";
  return i < text.size() && kConversions.find(text[i]) != std::string_view::npos ? i + 1 : 0;
}

// "%1", "%L1".
std::size_t qtPlaceholder(std::string_view text) {
  const std::size_t begin = at(text, 1) == 'L' ? 2 : 1;
  const auto digits = countWhile(text.substr(begin), isDigit);
  return digits >= 1 && digits <= 2 ? begin + digits : 0;
}

// "{name}", "{ $name }".
std::size_t bracedPlaceholder(std::string_view text) {
  const auto end = text.substr(0, kLongestPlaceholder).find('}');
  if (end == std::string_view::npos || end == 1) return 0;
  const auto name = text.substr(1, end - 1);
  const bool isName = std::all_of(name.begin(), name.end(),
                                  [](char c) { return isPlaceholderCharacter(c) || c == '$' || c == ' ' || c == ':'; });
  return isName ? end + 1 : 0;
}

// The bytes of the placeholder that `text` begins with; 0: none.
std::size_t placeholder(std::string_view text) {
  if (text.front() == '{') return bracedPlaceholder(text);
  if (text.front() == '$') return isDigit(at(text, 1)) ? 2 : 0;
  if (text.front() != '%') return 0;
  for (const auto kind : {pythonPlaceholder, customPlaceholder, cPlaceholder, qtPlaceholder}) {
    if (const auto bytes = kind(text)) return bytes;
  }
  return 0;
}

// Letters outside of ASCII's signs; those of the scripts that write without blanks count for two.
std::size_t lettersOf(std::string_view text) {
  std::size_t letters = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isAsciiLetter = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
    if (isAsciiLetter || (byte >= 0xC3 && byte <= 0xE1)) ++letters;
    if (byte >= 0xE3) letters += 2;
  }
  return letters;
}

}  // namespace

std::optional<MessagePattern> MessagePattern::of(std::string_view translation) {
  if (translation.find_first_of("%{$") == std::string_view::npos) return std::nullopt;
  MessagePattern pattern;
  std::string piece;
  std::size_t letters = 0;
  const auto finishPiece = [&] {
    letters += lettersOf(piece);
    pattern.pieces.push_back(std::move(piece));
    piece.clear();
  };
  while (!translation.empty()) {
    if (const auto bytes = placeholder(translation)) {
      finishPiece();
      translation.remove_prefix(bytes);
      continue;
    }
    piece += translation.front();
    translation.remove_prefix(translation.starts_with("%%") ? 2 : 1);
  }
  finishPiece();
  const auto placeholders = pattern.pieces.size() - 1;
  const bool isUsable = placeholders >= 1 && placeholders <= kMostPlaceholders && letters >= kFewestLetters;
  return isUsable ? std::optional(std::move(pattern)) : std::nullopt;
}

void MessagePattern::leaveOutNumbers() {
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    auto piece = withoutNumbers(pieces[i]);
    if (i > 0 && piece.starts_with('0')) piece.erase(0, 1);
    if (i + 1 < pieces.size() && piece.ends_with('0')) piece.pop_back();
    pieces[i] = std::move(piece);
  }
}

bool MessagePattern::matches(std::string_view text) const {
  if (!text.starts_with(pieces.front())) return false;
  text.remove_prefix(pieces.front().size());
  for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
    if (text.empty()) return false;
    const auto found = text.find(pieces[i], 1);  // Something stands for the placeholder.
    if (found == std::string_view::npos) return false;
    text.remove_prefix(found + pieces[i].size());
  }
  return text.size() > pieces.back().size() && text.ends_with(pieces.back());
}

}  // namespace quillard::catalogues
