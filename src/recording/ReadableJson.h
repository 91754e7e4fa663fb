#pragma once

#include <string>

#include "foundation/StrictJson.h"

namespace quillard::recording {

// JSON for people: indented by two, small values on one line of at most 120 characters, a line break at the end. Bytes
// that are no UTF-8 become replacement characters.
[[nodiscard]] std::string readableJson(const Json& json);

}  // namespace quillard::recording
