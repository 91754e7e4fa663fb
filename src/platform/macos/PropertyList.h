#pragma once

#include <cstdint>
#include <span>
#include <variant>

#include "platform/process/Bundle.h"

namespace quillard::macos {

// The texts of the root dictionary of a property list, XML or binary, read by CoreFoundation. Bytes that are too large,
// too deep or unfold to too much are refused before it gets them (see foundation/PropertyListShape.h). Any thread.
[[nodiscard]] std::variant<platform::PropertyListTexts, platform::ResourceError> readPropertyList(
    std::span<const std::uint8_t> bytes);

}  // namespace quillard::macos
