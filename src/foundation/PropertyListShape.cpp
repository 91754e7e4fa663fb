#include "foundation/PropertyListShape.h"

#include <algorithm>

namespace quillard {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kMostBytes = 256 * 1024;
constexpr std::size_t kMostContainers = 256;  // Of an XML list, which bounds its depth too.
constexpr int kMostDepth = 32;
constexpr std::size_t kMostObjects = 20'000;  // Of a binary list, unfolded.

constexpr std::string_view kTooLarge = "The property list is too large.";
constexpr std::string_view kTooDeep = "The property list is nested too deeply, or unfolds to too much.";
constexpr std::string_view kMalformed = "The property list is malformed.";

std::string_view textOf(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

// Whether `text` begins with the rest of a character reference, after "&#", that names a character other than zero.
bool isCharacterNumber(std::string_view text) {
  const std::string_view number = text.substr(0, text.find(';'));
  constexpr std::size_t kLongest = 8;
  if (number.size() == text.size() || number.size() > kLongest) return false;
  const bool isHex = number.starts_with('x');
  const std::string_view digits = number.substr(isHex ? 1 : 0);
  const std::string_view allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
  return digits.find_first_not_of(allowed) == std::string_view::npos &&
         digits.find_first_not_of('0') != std::string_view::npos;
}

// A zero within a key stops libplist, and with it the process.
bool mayHoldZeros(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return true;
  for (auto at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 1)) {
    if (!isCharacterNumber(text.substr(at + 2))) return true;
  }
  return false;
}

// Counts what opens, and nothing that closes: comments and other tricks can only make it more.
std::optional<std::string_view> refusalOfXml(std::string_view text) {
  if (mayHoldZeros(text)) return kMalformed;
  std::size_t containers = 0;
  for (auto at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    const std::string_view tag = text.substr(at + 1, 5);
    if (tag.starts_with("dict") || tag.starts_with("array")) ++containers;
  }
  if (containers > kMostContainers) return kTooDeep;
  return std::nullopt;
}

// The skeleton of a binary list: which objects there are, and which contain which.
class BinaryShape {
 public:
  explicit BinaryShape(Bytes bytes) : bytes(bytes) {}

  std::optional<std::string_view> refusal() {
    if (!readTrailer()) return kMalformed;
    visit(root, 0);
    return problem;
  }

 private:
  static constexpr std::size_t kHeading = 8;
  static constexpr std::size_t kTrailer = 32;

  // Absent when the bytes do not reach so far, or the number is no position in any file.
  [[nodiscard]] std::optional<std::size_t> number(std::size_t at, std::size_t size) const {
    if (size == 0 || size > 8 || at > bytes.size() || size > bytes.size() - at) return std::nullopt;
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(at, size)) value = value << 8U | byte;
    if (value > kMostBytes) return std::nullopt;
    return static_cast<std::size_t>(value);
  }

  bool readTrailer() {
    if (bytes.size() < kHeading + kTrailer) return false;
    const std::size_t trailer = bytes.size() - kTrailer;
    offsetSize = bytes[trailer + 6];
    referenceSize = bytes[trailer + 7];
    const auto objects = number(trailer + 8, 8);
    const auto top = number(trailer + 16, 8);
    const auto table = number(trailer + 24, 8);
    if (!objects || !top || !table || offsetSize == 0 || offsetSize > 8 || referenceSize == 0 || referenceSize > 8) {
      return false;
    }
    objectCount = *objects;
    root = *top;
    offsetTable = *table;
    return offsetTable >= kHeading && offsetTable <= trailer && objectCount <= (trailer - offsetTable) / offsetSize;
  }

  void refuse(std::string_view why) {
    if (!problem) problem = why;
  }

  // Where an object's content begins, and how many elements it says it has. In the object's own marker or after it.
  [[nodiscard]] std::optional<std::pair<std::size_t, std::size_t>> extent(std::size_t at) const {
    const std::size_t inMarker = bytes[at] & 0x0FU;
    if (inMarker != 0x0F) return std::pair{at + 1, inMarker};
    if (at + 1 >= offsetTable || (bytes[at + 1] & 0xF0U) != 0x10) return std::nullopt;
    const std::size_t size = std::size_t{1} << (bytes[at + 1] & 0x0FU);
    const auto count = number(at + 2, size);
    if (!count) return std::nullopt;
    return std::pair{at + 2 + size, *count};
  }

  void visit(std::size_t object, int depth) {
    if (problem) return;
    if (++visited > kMostObjects || depth > kMostDepth) return refuse(kTooDeep);
    const auto at = offsetOf(object);
    if (!at) return refuse(kMalformed);
    visitContent(*at, depth);
  }

  void visitContent(std::size_t at, int depth) {
    const unsigned kind = bytes[at] >> 4U;
    constexpr unsigned kSmallest = 0x0;  // True, false, null.
    if (kind == kSmallest) return;
    if (kind == 0x1 || kind == 0x2 || kind == 0x3) return checkFits(at + 1, std::size_t{1} << (bytes[at] & 0x0FU));
    if (kind == 0x8) return checkFits(at + 1, std::size_t{1} + (bytes[at] & 0x0FU));
    const auto found = extent(at);
    if (!found) return refuse(kMalformed);
    const auto [start, count] = *found;
    if (kind == 0x4 || kind == 0x5 || kind == 0x7) return checkFits(start, count);
    if (kind == 0x6) return checkFits(start, count * 2);
    if (kind == 0xA || kind == 0xC) return visitReferences(start, count, depth);
    if (kind == 0xD) {
      for (std::size_t i = 0; i < count && !problem; ++i) checkKey(number(start + i * referenceSize, referenceSize));
      return visitReferences(start, count * 2, depth);
    }
    refuse(kMalformed);
  }

  [[nodiscard]] std::optional<std::size_t> offsetOf(std::size_t object) const {
    const auto at = object < objectCount ? number(offsetTable + object * offsetSize, offsetSize) : std::nullopt;
    return at && *at >= kHeading && *at < offsetTable ? at : std::nullopt;
  }

  // Keys are texts without zeros, which libplist takes for granted.
  void checkKey(std::optional<std::size_t> object) {
    const auto at = object ? offsetOf(*object) : std::nullopt;
    const auto found = at ? extent(*at) : std::nullopt;
    if (!found) return refuse(kMalformed);
    const unsigned kind = bytes[*at] >> 4U;
    const std::size_t unit = kind == 0x5 ? 1 : 2;
    if (kind != 0x5 && kind != 0x6) return refuse(kMalformed);
    checkFits(found->first, found->second * unit);
    for (std::size_t i = 0; i < found->second && !problem; ++i) {
      if (number(found->first + i * unit, unit) == std::size_t{0}) refuse(kMalformed);
    }
  }

  void checkFits(std::size_t start, std::size_t size) {
    if (start > offsetTable || size > offsetTable - start) refuse(kMalformed);
  }

  void visitReferences(std::size_t start, std::size_t count, int depth) {
    checkFits(start, count * referenceSize);
    for (std::size_t i = 0; i < count && !problem; ++i) {
      const auto object = number(start + i * referenceSize, referenceSize);
      if (!object) return refuse(kMalformed);
      visit(*object, depth + 1);
    }
  }

  const Bytes bytes;
  std::size_t offsetSize = 0;
  std::size_t referenceSize = 0;
  std::size_t objectCount = 0;
  std::size_t root = 0;
  std::size_t offsetTable = 0;
  std::size_t visited = 0;
  std::optional<std::string_view> problem;
};

}  // namespace

bool isBinaryPropertyList(Bytes bytes) { return textOf(bytes).starts_with("bplist0"); }

std::optional<std::string_view> refusalOfPropertyList(Bytes bytes) {
  if (bytes.size() > kMostBytes) return kTooLarge;
  return isBinaryPropertyList(bytes) ? BinaryShape(bytes).refusal() : refusalOfXml(textOf(bytes));
}

}  // namespace quillard
