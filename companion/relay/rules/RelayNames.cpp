#include "companion/relay/rules/RelayNames.h"

#include <algorithm>

#include "foundation/Text.h"

namespace quillard::relayserver {
namespace {

bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// What stands for itself in a URL.
bool isUnreserved(char c) {
  return isLower(c) || isUpper(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

template <class Allowed>
bool consistsOf(std::string_view text, std::size_t shortest, std::size_t longest, Allowed allowed) {
  return text.size() >= shortest && text.size() <= longest && std::all_of(text.begin(), text.end(), allowed);
}

// The controls of C0, DEL, and those of C1, which UTF-8 writes as C2 80 to C2 9F.
bool hasControls(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x20 || byte == 0x7F) return true;
    if (byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0) return true;
  }
  return false;
}

std::size_t characterCount(std::string_view text) {
  constexpr unsigned kContinuationMask = 0xC0;
  constexpr unsigned kContinuation = 0x80;
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & kContinuationMask) != kContinuation;
  }));
}

}  // namespace

bool isPairingID(std::string_view text) {
  return consistsOf(text, 1, 128, [](char c) { return isLower(c) || isDigit(c) || c == '_' || c == '-'; });
}

bool isBearerToken(std::string_view text) { return consistsOf(text, 32, 128, isUnreserved); }

bool isRegistrationKey(std::string_view text) { return consistsOf(text, 16, 128, isUnreserved); }

bool isDeviceOrDecisionID(std::string_view text) {
  return consistsOf(text, 1, 64, [](char c) { return isLower(c) || isUpper(c) || isDigit(c) || c == '-'; });
}

bool isShownText(std::string_view text, std::size_t longest) {
  constexpr std::size_t kMostBytesOfACharacter = 4;
  if (text.size() > longest * kMostBytesOfACharacter || !text::isValidUtf8(text)) return false;
  return characterCount(text) <= longest && !hasControls(text);
}

std::string shortened(std::string_view pairingID) {
  constexpr std::size_t kShown = 8;
  return std::string(pairingID.substr(0, std::min(kShown, pairingID.size() / 2))) + "...";
}

}  // namespace quillard::relayserver
