#pragma once

#include "platform/Executors.h"

namespace quillard::macos {

// Runs `turn` inside an autorelease pool of its own: threads that the system did not make have none, and what its
// functions leave to a pool would stay for good. Any thread.
void runInAutoreleasePool(const platform::Turn& turn);

}  // namespace quillard::macos
