#include "platform/macos/MacRandom.h"

#include <algorithm>
#include <cstdlib>

#include <Security/Security.h>

namespace quillard::macos {

bool MacRandom::fillSecurely(std::span<std::uint8_t> bytes) {
  if (bytes.empty() || SecRandomCopyBytes(kSecRandomDefault, bytes.size(), bytes.data()) == errSecSuccess) return true;
  std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
  return false;
}

std::array<std::uint8_t, 16> MacRandom::identityBytes() {
  std::array<std::uint8_t, 16> bytes{};
  if (!fillSecurely(bytes)) ::arc4random_buf(bytes.data(), bytes.size());
  return bytes;
}

}  // namespace quillard::macos
