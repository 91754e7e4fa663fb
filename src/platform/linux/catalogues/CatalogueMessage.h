#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace quillard::catalogues {

// Takes one message: the English source text and a translation of it, in UTF-8. A message with several forms comes once
// for each. Both views end with the call. False: it wants no more, and the reader stops.
using MessageVisitor = std::function<bool(std::string_view source, std::string_view translation)>;

// Bounds of every catalogue, whatever its format: it is a file of another program.
inline constexpr std::size_t kLargestCatalogue = 16 * std::size_t{1024} * 1024;
inline constexpr std::size_t kMostMessages = 200'000;
inline constexpr std::size_t kLongestMessage = 4096;  // Longer ones are passed over: no label or line is like that.

}  // namespace quillard::catalogues
