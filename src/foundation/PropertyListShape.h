#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quillard {

// Looks at the bytes of a property list before they are parsed: how large they are, how deep they nest, how much
// they would unfold to. A binary list may name one object many times, so that a few hundred bytes can stand for more
// than there is memory. Absent when the bytes may be parsed; else why not.
[[nodiscard]] std::optional<std::string_view> refusalOfPropertyList(std::span<const std::uint8_t> bytes);

[[nodiscard]] bool isBinaryPropertyList(std::span<const std::uint8_t> bytes);

}  // namespace quillard
