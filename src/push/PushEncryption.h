#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process/Random.h"
#include "relay/PushMessages.h"
#include "values/Secret.h"

// The encryption of pushes: RFC 8291 over RFC 8188 ("aes128gcm"), one record. Only the phone's browser can open what
// comes of it; relay and push service learn its length.
namespace quillard {

// So much is left of 4,096 bytes, which every push service takes.
inline constexpr std::size_t kLongestPushText = 3993;

// What must be new for every push.
struct PushSalt {
  static constexpr std::size_t kSalt = 16;
  static constexpr std::size_t kScalar = 32;
  std::array<std::uint8_t, kSalt> salt{};
  Secret privateKey{};  // Of P-256, 32 bytes, the greatest first; from 1 to the order less 1.
};

// The body of a push. Absent: the phone's key is no point of the curve, the text is too long, or the cipher failed.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> encryptedPush(std::string_view text, const PushKeys& keys,
                                                                     const PushSalt& salt);
// The same with a new salt and key. Absent also when there are no random bytes.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> encryptedPush(std::string_view text, const PushKeys& keys,
                                                                     platform::Random& random);

}  // namespace quillard
