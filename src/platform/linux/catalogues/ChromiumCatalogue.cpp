#include "platform/linux/catalogues/ChromiumCatalogue.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/linux/catalogues/Bytes.h"
#include "platform/linux/catalogues/Utf16.h"

namespace quillard::catalogues {
namespace {

constexpr std::size_t kEntry = 6;  // A number of two bytes, an offset of four.
constexpr std::size_t kAlias = 4;  // A number and a place in the table, of two bytes each.

enum class Encoding : std::uint8_t { utf8 = 1, utf16 = 2 };

struct Layout {
  Encoding encoding = Encoding::utf8;
  std::size_t entriesAt = 0;
  std::size_t entries = 0;
  std::size_t aliases = 0;
};

std::optional<Layout> layoutOf(const Bytes& numbers) {
  const auto version = numbers.number32(0);
  const bool isOld = version == 4U;
  if (!isOld && version != 5U) return std::nullopt;
  const auto count = isOld ? numbers.number32(4) : std::optional<std::uint32_t>(numbers.number16(8));
  const auto encoding = numbers.byte(isOld ? 8 : 4);
  const auto aliases = isOld ? std::optional<std::uint16_t>(std::uint16_t{0}) : numbers.number16(10);
  if (!count || !encoding || !aliases || *count > kMostMessages) return std::nullopt;
  if (*encoding != static_cast<std::uint8_t>(Encoding::utf8) &&
      *encoding != static_cast<std::uint8_t>(Encoding::utf16)) {
    return std::nullopt;
  }
  return Layout{static_cast<Encoding>(*encoding), isOld ? std::size_t{9} : std::size_t{12}, *count, *aliases};
}

// The texts of one pack by their numbers.
class Pack {
 public:
  explicit Pack(std::string_view bytes) : numbers(bytes, Bytes::Order::little) {
    if (bytes.size() <= kLargestCatalogue) layout = layoutOf(numbers);
    if (!layout) return;
    found.reserve(std::min<std::size_t>(layout->entries, bytes.size() / kEntry));
    for (std::size_t i = 0; i < layout->entries; ++i) add(numbers.number16(entryAt(i)), i);
    const std::size_t aliasesAt = entryAt(layout->entries + 1);
    for (std::size_t i = 0; i < layout->aliases; ++i) {
      const auto entry = numbers.number16(aliasesAt + i * kAlias + 2);
      if (entry && *entry < layout->entries) add(numbers.number16(aliasesAt + i * kAlias), *entry);
    }
  }

  [[nodiscard]] bool isSound() const { return layout.has_value(); }
  [[nodiscard]] const std::unordered_map<std::uint16_t, std::string_view>& texts() const { return found; }
  [[nodiscard]] std::string utf8(std::string_view text) const {
    if (layout->encoding == Encoding::utf8) return std::string(text);
    return utf8FromUtf16(text, Bytes::Order::little);
  }

 private:
  [[nodiscard]] std::size_t entryAt(std::size_t index) const { return layout->entriesAt + index * kEntry; }

  // A text reaches to where the next one begins; the table has one row more for that.
  void add(std::optional<std::uint16_t> number, std::size_t index) {
    const auto begin = numbers.number32(entryAt(index) + 2);
    const auto end = numbers.number32(entryAt(index + 1) + 2);
    if (!number || !begin || !end || *end < *begin || *end - *begin > 2 * kLongestMessage) return;
    if (const auto text = numbers.piece(*begin, *end - *begin)) found.emplace(*number, *text);
  }

  const Bytes numbers;
  std::optional<Layout> layout;
  std::unordered_map<std::uint16_t, std::string_view> found;
};

}  // namespace

bool readChromiumCatalogue(std::string_view bytes, std::string_view english, const MessageVisitor& visit) {
  const Pack translated(bytes);
  const Pack source(english);
  if (!translated.isSound() || !source.isSound()) return false;
  for (const auto& [number, text] : translated.texts()) {
    const auto original = source.texts().find(number);
    if (original == source.texts().end() || original->second.empty() || text.empty()) continue;
    if (!visit(source.utf8(original->second), translated.utf8(text))) break;
  }
  return true;
}

}  // namespace quillard::catalogues
