#pragma once

#include "platform/process/Executors.h"

namespace quillard::macos {

// Runs `turn` inside an autorelease pool of its own: threads that the system did not make have none, and what its
// functions leave to a pool would stay for good. That of the main thread is emptied with each event of a window or the
// menu bar, for which an agent without a visible window may wait for days, while its timers go on. Any thread.
void runInAutoreleasePool(const platform::Turn& turn);

}  // namespace quillard::macos
