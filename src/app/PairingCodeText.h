#pragma once

#include "values/Images.h"
#include "values/Secret.h"

namespace quillard::app {

// A code as lines of text for a terminal, two rows of modules in each: dark on light whatever the terminal's colours,
// and as many columns as the code has modules. Holds what the code holds.
[[nodiscard]] Secret terminalText(const Bitmap& code);

}  // namespace quillard::app
