#pragma once

#include <cstdint>
#include <span>
#include <variant>

#include "platform/process/Bundle.h"

namespace quillard::xdg {

// The texts of the root dictionary of a property list, XML or binary, read by libplist. The bytes are from outside:
// those that are large (256 KiB), deep (32 levels of a binary list, 256 containers of an XML one) or that unfold to
// much (20,000 objects) are refused before the library gets them. Any thread.
[[nodiscard]] std::variant<platform::PropertyListTexts, platform::ResourceError> readPropertyList(
    std::span<const std::uint8_t> bytes);

}  // namespace quillard::xdg
