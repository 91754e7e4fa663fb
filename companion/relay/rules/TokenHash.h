#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace quillard::relayserver {

// SHA-256 of a bearer token, which is all that is stored of it. Tokens are long and random, so no slower digest is
// needed.
using TokenHash = std::array<unsigned char, 32>;

[[nodiscard]] TokenHash hashOf(std::string_view token);

// Takes the same time whether and wherever they differ.
[[nodiscard]] bool areEqual(const TokenHash& one, const TokenHash& other);

}  // namespace quillard::relayserver
