#pragma once

#include <string>

#include "demo/Variables.h"

namespace quillard::demo {

// Deletes the autostart entry that starts `program` when this user logs in. One that was switched off, or starts
// another program, stays. Whether there was one.
bool withdrawStartOf(const std::string& program, const Variables& environment);

}  // namespace quillard::demo
