#pragma once

#include <array>

namespace quillard::qt {

// The two ends of a pipe, to read and to write, by which a signal handler or another thread wakes the loop of this one:
// the kernel then orders the two for every tool that watches them, which an event posted through Qt does not. Neither
// end blocks, and no child inherits one. The caller closes both. Where there is no pipe to be had, the process ends,
// with `problem` as the line that says so.
[[nodiscard]] std::array<int, 2> makeWakePipe(const char* problem);

}  // namespace quillard::qt
