#include "platform/linux/catalogues/GettextCatalogue.h"

#include <algorithm>
#include <optional>
#include <string>

#include "foundation/Text.h"
#include "platform/linux/catalogues/Bytes.h"

namespace quillard::catalogues {
namespace {

// Where things are in the head of a file, and the size of a row of its tables.
constexpr std::size_t kCountAt = 8;
constexpr std::size_t kSourcesAt = 12;
constexpr std::size_t kTranslationsAt = 16;
constexpr std::size_t kRow = 8;
constexpr std::size_t kLongestHead = 64 * std::size_t{1024};

constexpr char kContextEnd = '\4';

enum class Charset { utf8, latin1 };

std::optional<Bytes> numbersOf(std::string_view bytes) {
  constexpr std::uint32_t kMagic = 0x950412de;
  for (const auto order : {Bytes::Order::little, Bytes::Order::big}) {
    const Bytes numbers(bytes, order);
    if (numbers.number32(0) == kMagic) return numbers;
  }
  return std::nullopt;
}

std::optional<std::string_view> textAt(const Bytes& numbers, std::size_t row) {
  const auto length = numbers.number32(row);
  const auto offset = numbers.number32(row + 4);
  return length && offset ? numbers.piece(*offset, *length) : std::nullopt;
}

// The head is the translation of the empty text. Without a word about it, a catalogue is ASCII.
std::optional<Charset> charsetOf(std::string_view head) {
  constexpr std::string_view kName = "charset=";
  const std::string lower = text::lowercased(head.substr(0, kLongestHead));
  const auto found = lower.find(kName);
  if (found == std::string::npos) return Charset::utf8;
  const auto name = std::string_view(lower).substr(found + kName.size());
  if (name.starts_with("utf-8") || name.starts_with("utf8") || name.starts_with("us-ascii")) return Charset::utf8;
  const bool isLatin1 = name.starts_with("iso-8859-1") && !(name.size() > 10 && name[10] >= '0' && name[10] <= '9');
  return isLatin1 ? std::optional(Charset::latin1) : std::nullopt;
}

std::string utf8FromLatin1(std::string_view text) {
  std::string converted;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      converted += c;
    } else {
      converted += static_cast<char>(0xC0U | (byte >> 6U));
      converted += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return converted;
}

// Cuts off what comes before the end of the context, and the plural behind the singular.
std::string_view sourceOf(std::string_view key) {
  const auto context = key.find(kContextEnd);
  if (context != std::string_view::npos) key.remove_prefix(context + 1);
  return key.substr(0, key.find('\0'));
}

// False: no more are wanted.
bool visitForms(std::string_view key, std::string_view forms, Charset charset, const MessageVisitor& visit) {
  const auto source = sourceOf(key);
  while (!source.empty() && !forms.empty()) {
    const auto form = forms.substr(0, forms.find('\0'));
    forms.remove_prefix(std::min(form.size() + 1, forms.size()));
    if (form.empty()) continue;
    const bool goesOn =
        charset == Charset::utf8 ? visit(source, form) : visit(utf8FromLatin1(source), utf8FromLatin1(form));
    if (!goesOn) return false;
  }
  return true;
}

}  // namespace

bool readGettextCatalogue(std::string_view bytes, const MessageVisitor& visit) {
  if (bytes.size() > kLargestCatalogue) return false;
  const auto numbers = numbersOf(bytes);
  if (!numbers) return false;
  const auto count = numbers->number32(kCountAt);
  const auto sources = numbers->number32(kSourcesAt);
  const auto translations = numbers->number32(kTranslationsAt);
  if (!count || !sources || !translations) return false;
  std::optional<Charset> charset;
  // Rows may name the same bytes again and again: all together name no more than these.
  std::size_t left = bytes.size();
  const std::size_t rows = std::min<std::size_t>({*count, kMostMessages, bytes.size() / kRow});
  for (std::size_t i = 0; i < rows; ++i) {
    const auto key = textAt(*numbers, *sources + i * kRow);
    const auto forms = textAt(*numbers, *translations + i * kRow);
    if (!key || !forms) continue;
    if (key->size() + forms->size() > left) break;
    left -= key->size() + forms->size();
    if (key->empty()) {
      if (charset) continue;
      charset = charsetOf(*forms);
      if (!charset) return false;
    } else if (key->size() <= kLongestMessage && forms->size() <= 2 * kLongestMessage) {
      if (!visitForms(*key, *forms, charset.value_or(Charset::utf8), visit)) break;
    }
  }
  return true;
}

}  // namespace quillard::catalogues
