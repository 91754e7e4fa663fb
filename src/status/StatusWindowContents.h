#pragma once

#include "status/MacStatusSnapshot.h"
#include "status/view/StatusWindowView.h"

namespace quillard {

// All that the status window shows of a snapshot. A function of its argument; any thread.
[[nodiscard]] StatusWindowContent statusWindowContent(const MacStatusSnapshot& snapshot);

}  // namespace quillard
