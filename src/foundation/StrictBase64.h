#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillard {

// Standard base64, with padding, without line breaks.
[[nodiscard]] std::string base64Text(std::span<const std::uint8_t> bytes);

// Every byte string has exactly one text that is accepted: the one that `base64Text` writes. Absent for anything else:
// white space, another alphabet, missing or misplaced padding, bits that stray beyond the last byte.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> base64Bytes(std::string_view text);

// With the two digits for URLs, and without padding.
[[nodiscard]] std::string base64UrlText(std::span<const std::uint8_t> bytes);

// Absent for anything that `base64UrlText` would not write. Keeps no copy of the text, which may be a secret.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> base64UrlBytes(std::string_view text);

}  // namespace quillard
