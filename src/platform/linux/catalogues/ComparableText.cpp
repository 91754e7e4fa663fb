#include "platform/linux/catalogues/ComparableText.h"

#include <array>
#include <utility>

#include "foundation/ShownText.h"

namespace quillard::catalogues {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kLongestTag = 160;

bool isAsciiLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
// A letter of any script, or a digit: what a mnemonic may mark.
bool isMarkable(char c) { return isAsciiLetter(c) || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) >= 0x80; }

// The bytes of a white-space character beyond ASCII at the beginning; 0: there is none.
std::size_t wideSpace(std::string_view text) {
  if (text.starts_with("\xC2\xA0"sv) || text.starts_with("\xC2\x85"sv)) return 2;
  if (text.starts_with("\xE3\x80\x80"sv) || text.starts_with("\xE2\x81\x9F"sv)) return 3;
  if (text.size() < 3 || !text.starts_with("\xE2\x80"sv)) return 0;
  const auto last = static_cast<unsigned char>(text[2]);
  const bool isSpace = last <= 0x8A || last == 0xA8 || last == 0xA9 || last == 0xAF;
  return isSpace ? 3 : 0;
}

// Goes once over a text and writes what is compared of it.
class Writer {
 public:
  Writer(std::string_view text, std::string& out) : left(text), out(out) { out.clear(); }

  void write() {
    while (!left.empty()) step();
  }

 private:
  void step() {
    const char c = left.front();
    if (c == ' ' || (c >= '\t' && c <= '\r')) return space(1);
    if (c == '<' && takeTag()) return;
    if (c == '&' && takeEntity()) return;
    if (c == '&' || c == '_') return mnemonicMark(c);
    if (static_cast<unsigned char>(c) >= 0xC2) {
      if (const auto bytes = wideSpace(left)) return space(bytes);
    }
    put(left.substr(0, 1));
    left.remove_prefix(1);
  }

  void space(std::size_t bytes) {
    isSpacePending = !out.empty();
    left.remove_prefix(bytes);
  }

  void put(std::string_view bytes) {
    if (std::exchange(isSpacePending, false)) out += ' ';
    out += bytes;
  }

  // A mark before a letter goes; one that is doubled stands for itself.
  void mnemonicMark(char mark) {
    left.remove_prefix(1);
    if (left.starts_with(mark)) {
      put(left.substr(0, 1));
      left.remove_prefix(1);
    } else if (left.empty() || !isMarkable(left.front())) {
      put({&mark, 1});
    }
  }

  bool takeTag() {
    const std::size_t begin = left.size() > 1 && left[1] == '/' ? 2 : 1;
    if (left.size() <= begin || !isAsciiLetter(left[begin])) return false;
    const auto end = left.substr(0, kLongestTag).find('>');
    if (end == std::string_view::npos) return false;
    const auto name = left.substr(begin, end - begin);
    constexpr std::array kBreaking{"br"sv, "p"sv, "li"sv, "div"sv, "tr"sv};
    for (const auto breaking : kBreaking) {
      if (!name.starts_with(breaking)) continue;
      if (name.size() == breaking.size() || !isAsciiLetter(name[breaking.size()])) isSpacePending = !out.empty();
    }
    left.remove_prefix(end + 1);
    return true;
  }

  bool takeEntity() {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kEntities{{{"&amp;", "&"},
                                                                                      {"&lt;", "<"},
                                                                                      {"&gt;", ">"},
                                                                                      {"&quot;", "\""},
                                                                                      {"&apos;", "'"},
                                                                                      {"&#39;", "'"},
                                                                                      {"&nbsp;", " "}}};
    for (const auto& [entity, character] : kEntities) {
      if (!left.starts_with(entity)) continue;
      if (character == " ") {
        space(entity.size());
      } else {
        put(character);
        left.remove_prefix(entity.size());
      }
      return true;
    }
    return false;
  }

  std::string_view left;
  std::string& out;
  bool isSpacePending = false;
};

bool hasWideCharacters(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return true;
  }
  return false;
}

void dropEllipsis(std::string& text) {
  for (const auto ellipsis : {"…"sv, "..."sv}) {
    if (text.size() > ellipsis.size() && text.ends_with(ellipsis)) text.resize(text.size() - ellipsis.size());
  }
  while (text.ends_with(' ')) text.pop_back();
}

}  // namespace

void makeComparable(std::string_view text, std::string& out) {
  Writer(text, out).write();
  dropEllipsis(out);
  if (hasWideCharacters(out)) out = text::withoutMarks(out);
}

std::string comparable(std::string_view text) {
  std::string out;
  makeComparable(text, out);
  return out;
}

std::string withoutNumbers(std::string_view comparable) {
  std::string out;
  bool isInNumber = false;
  for (const char c : comparable) {
    const bool isDigit = c >= '0' && c <= '9';
    if (!isDigit) out += c;
    if (isDigit && !isInNumber) out += '0';
    isInNumber = isDigit;
  }
  return out;
}

std::string plainSource(std::string_view source) {
  std::string out;
  Writer(source, out).write();
  return out;
}

}  // namespace quillard::catalogues
