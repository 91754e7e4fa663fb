#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::text {

// Texts are UTF-8. White space is what Unicode's White_Space property names (so a zero-width space is not), lower case
// is Unicode's simple mapping. Bytes that are no UTF-8 are kept as they stand.

[[nodiscard]] bool isValidUtf8(std::string_view text);

// Without white space and line breaks at both ends. A view into `text`.
[[nodiscard]] std::string_view trimmed(std::string_view text);

[[nodiscard]] std::string lowercased(std::string_view text);

// Trimmed, every run of white space collapsed to one blank, lower case. Nothing else is folded: punctuation,
// apostrophes, ellipses and accents stay.
[[nodiscard]] std::string normalized(std::string_view text);

// Whether one of `parts` stands somewhere in `text`, byte for byte. An empty part stands in every text.
[[nodiscard]] bool containsAny(std::string_view text, std::span<const std::string_view> parts);

[[nodiscard]] std::string joined(const std::vector<std::string>& parts, std::string_view separator);

}  // namespace quillard::text
