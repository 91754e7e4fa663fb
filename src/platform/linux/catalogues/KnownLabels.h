#pragma once

#include <string_view>
#include <vector>

namespace quillard::catalogues {

// The English labels that a shown one stands for in this language, from a small table of our own: Cancel, OK, Yes, No
// and their like. For programs whose catalogues cannot be found. `label`: comparable; `language`: as in a locale.
[[nodiscard]] std::vector<std::string_view> knownLabels(std::string_view language, std::string_view label);

}  // namespace quillard::catalogues
