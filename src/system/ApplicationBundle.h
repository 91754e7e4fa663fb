#pragma once

#include "platform/process/Bundle.h"

namespace quillard {

// Whether the program runs as a built application, a folder whose name ends in ".app", and not as a bare executable
// from somewhere: only then can the system know it by name. Any thread.
[[nodiscard]] bool isApplicationBundle(const platform::Bundle& bundle);

}  // namespace quillard
