#include "relay/PairingIdentifiers.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "foundation/HexText.h"
#include "foundation/Text.h"
#include "foundation/Uuid.h"

namespace quillard {
namespace {

constexpr std::string_view kDefaultPrefix = "quillard";
constexpr std::size_t kIdentifierBytes = 16;

bool isPlain(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'; }

// The bytes of UTF-8 after the first of a character.
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

std::string hexOfTwoIdentities(std::size_t byteCount, platform::Random& random) {
  std::string text;
  for (int i = 0; i < 2; ++i) text += hexText(Uuid::fromRandomBytes(random.identityBytes()).data());
  text.resize(std::min(text.size(), byteCount * 2));
  return text;
}

std::string_view firstPart(std::string_view seed) {
  const auto start = seed.find_first_not_of('-');
  if (start == std::string_view::npos) return {};
  return seed.substr(start, seed.find('-', start) - start);
}

}  // namespace

Secret randomHex(std::size_t byteCount, platform::Random& random) {
  std::vector<std::uint8_t> bytes(byteCount);
  std::string text = random.fillSecurely(bytes) ? hexText(bytes) : hexOfTwoIdentities(byteCount, random);
  wipe(bytes);
  return takenSecret(text);
}

std::string createdPairingID(const std::optional<std::string>& seed, platform::Random& random) {
  const auto prefix = seed ? sanitizedPairingPrefix(firstPart(text::trimmed(*seed))) : std::nullopt;
  const auto digits = randomHex(kIdentifierBytes, random);
  return prefix.value_or(std::string(kDefaultPrefix)) + "-" + std::string(digits.text());
}

std::optional<std::string> sanitizedPairingPrefix(std::string_view text) {
  std::string sanitized;
  for (const char c : text) {
    if (isPlain(c)) {
      sanitized += c;
    } else if (!isContinuation(c) || !text::isValidUtf8(text)) {
      sanitized += '-';  // One for each character, however many bytes it takes.
    }
  }
  const auto start = sanitized.find_first_not_of("-_");
  if (start == std::string::npos) return std::nullopt;
  return text::lowercased(sanitized.substr(start, sanitized.find_last_not_of("-_") - start + 1));
}

}  // namespace quillard
