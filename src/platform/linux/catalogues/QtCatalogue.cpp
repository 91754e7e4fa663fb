#include "platform/linux/catalogues/QtCatalogue.h"

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/catalogues/Bytes.h"
#include "platform/linux/catalogues/Utf16.h"

namespace quillard::catalogues {
namespace {

using namespace std::string_view_literals;

constexpr auto kMagic = "\x3C\xB8\x64\x18\xCA\xEF\x9C\x95\xCD\x21\x1C\xBF\x60\xA1\xBD\xDD"sv;
constexpr std::uint8_t kMessagesSection = 0x69;
constexpr std::size_t kSectionHead = 5;  // A tag of one byte, a length of four.
constexpr std::uint32_t kNoText = 0xFFFFFFFF;

enum class Tag : std::uint8_t { end = 1, translation = 3, obsolete = 5, source = 6, context = 7, comment = 8 };

// Reads one message after another out of the section of messages.
class Messages {
 public:
  Messages(std::string_view section, const MessageVisitor& visit) : numbers(section, Bytes::Order::big), visit(visit) {}

  // Stops where the section ends, or is broken. False: no more messages are wanted.
  [[nodiscard]] bool visitAll() {
    std::size_t count = 0;
    while (const auto tag = numbers.byte(at)) {
      ++at;
      if (static_cast<Tag>(*tag) == Tag::end) {
        if (++count > kMostMessages || !finish()) return false;
      } else if (!take(static_cast<Tag>(*tag))) {
        return true;
      }
    }
    return true;
  }

 private:
  bool take(Tag tag) {
    if (tag == Tag::obsolete) {
      at += 4;
      return true;
    }
    if (tag != Tag::translation && tag != Tag::source && tag != Tag::context && tag != Tag::comment) return false;
    const auto length = numbers.number32(at);
    if (!length) return false;
    at += 4;
    if (*length == kNoText) return true;
    const auto text = numbers.piece(at, *length);
    if (!text) return false;
    at += text->size();
    if (tag == Tag::source) source = *text;
    if (tag == Tag::translation && translations.size() < kMostForms) translations.push_back(*text);
    return true;
  }

  // False: no more messages are wanted.
  bool finish() {
    bool goesOn = true;
    while (!source.empty() && source.back() == '\0') source.remove_suffix(1);
    for (const auto translation : translations) {
      if (source.empty() || source.size() > kLongestMessage || translation.size() > 2 * kLongestMessage) continue;
      const std::string shown = utf8FromUtf16(translation, Bytes::Order::big);
      if (!shown.empty()) goesOn = goesOn && visit(source, shown);
    }
    source = {};
    translations.clear();
    return goesOn;
  }

  static constexpr std::size_t kMostForms = 8;

  const Bytes numbers;
  const MessageVisitor& visit;
  std::size_t at = 0;
  std::string_view source;
  std::vector<std::string_view> translations;
};

}  // namespace

bool readQtCatalogue(std::string_view bytes, const MessageVisitor& visit) {
  if (bytes.size() > kLargestCatalogue || !bytes.starts_with(kMagic)) return false;
  const Bytes numbers(bytes, Bytes::Order::big);
  for (std::size_t at = kMagic.size(); at < bytes.size();) {
    const auto tag = numbers.byte(at);
    const auto length = numbers.number32(at + 1);
    const auto section = length ? numbers.piece(at + kSectionHead, *length) : std::nullopt;
    if (!section) break;
    if (tag == kMessagesSection && !Messages(*section, visit).visitAll()) break;
    at += kSectionHead + section->size();
  }
  return true;
}

}  // namespace quillard::catalogues
