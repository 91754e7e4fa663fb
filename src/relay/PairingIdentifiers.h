#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/process/Random.h"
#include "values/Secret.h"

namespace quillard {

// `byteCount` random bytes as lower-case hexadecimal digits, two each. From the secure generator; should that fail,
// from two fresh identities, which gives at most 32 bytes' worth.
[[nodiscard]] Secret randomHex(std::size_t byteCount, platform::Random& random);

// A new public identifier: the part of the trimmed `seed` before its first "-", sanitised, or else "quillard"; then "-"
// and 32 random digits.
[[nodiscard]] std::string createdPairingID(const std::optional<std::string>& seed, platform::Random& random);

// Lower case; every character but ASCII letters, digits and "_" becomes "-"; "-" and "_" are then taken off both ends.
// Absent when nothing is left.
[[nodiscard]] std::optional<std::string> sanitizedPairingPrefix(std::string_view text);

}  // namespace quillard
