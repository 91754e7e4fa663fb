#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "values/Secret.h"

// AES-256-GCM without additional data, in one piece: nonce (12 bytes), ciphertext (as long as the plaintext), tag (16).
namespace quillard {

inline constexpr std::size_t kSealingKeyLength = 32;
inline constexpr std::size_t kNonceLength = 12;
inline constexpr std::size_t kTagLength = 16;
inline constexpr std::size_t kShortestBox = kNonceLength + kTagLength;

using Nonce = std::array<std::uint8_t, kNonceLength>;
using BoxBytes = std::vector<std::uint8_t>;

// `key` has 32 bytes; `nonce` was never used with it before. Absent when the cipher fails, or the text is too long for
// it (2 GiB).
[[nodiscard]] std::optional<BoxBytes> sealedBox(const Secret& key, const Nonce& nonce, std::string_view plaintext);

// The plaintext; absent when the box is too short, was not sealed with `key`, or was changed since.
[[nodiscard]] std::optional<std::string> openedBox(const Secret& key, std::span<const std::uint8_t> box);

// Absent when the box is too short to be one.
[[nodiscard]] std::optional<Nonce> nonceOf(std::span<const std::uint8_t> box);

}  // namespace quillard
