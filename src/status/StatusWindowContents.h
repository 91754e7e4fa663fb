#pragma once

#include "platform/shell/StatusWindowView.h"
#include "status/MacStatusSnapshot.h"

namespace quillard {

// All that the status window shows of a snapshot. A function of its argument; any thread.
[[nodiscard]] platform::StatusWindowContent statusWindowContent(const MacStatusSnapshot& snapshot);

}  // namespace quillard
