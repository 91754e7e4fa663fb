#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillard {

// `text` as one harmless piece of a diagnostic line: control, formatting and line-breaking characters and bytes that
// are no UTF-8 become "?", and what goes beyond `longest` bytes is cut off and marked with "...". For descriptions that
// repeat what another party sent.
[[nodiscard]] std::string printableText(std::string_view text, std::size_t longest = 200);

// The same for a name that a person chose: only control characters, breaks of lines and marks of direction become "?".
// Joiners stay, which an emoji made of two needs, and many a Persian name.
[[nodiscard]] std::string printableName(std::string_view name, std::size_t longest = 200);

}  // namespace quillard
