#pragma once

#include "values/Images.h"

// The agent's fixed colours, the same in light and dark.
namespace quillard::AppBrand {

inline constexpr Color ink{0.09, 0.12, 0.14};
inline constexpr Color green{0.16, 0.78, 0.34};  // All is well.
inline constexpr Color amber{0.95, 0.58, 0.16};  // Something is left to do.
inline constexpr Color successPill{0.04, 0.36, 0.18};
inline constexpr Color warningPill{0.58, 0.30, 0.06};

}  // namespace quillard::AppBrand
