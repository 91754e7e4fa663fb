#pragma once

#include <cstdint>

#include "values/Images.h"

namespace quillard::MenuBarIcon {

inline constexpr double idleLength = 24;     // Points, of the status item.
inline constexpr double pendingLength = 30;  // While approvals are pending.

// The icon; with a dot when `count` approvals, at least one, are pending.
[[nodiscard]] TemplateImage image(std::int64_t count);

}  // namespace quillard::MenuBarIcon
