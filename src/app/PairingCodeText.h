#pragma once

#include "platform/Images.h"
#include "platform/Secret.h"

namespace quillard::app {

// A code as lines of text for a terminal, two rows of modules in each: dark on light whatever the terminal's colours,
// and as many columns as the code has modules. Holds what the code holds.
[[nodiscard]] platform::Secret terminalText(const platform::Bitmap& code);

}  // namespace quillard::app
