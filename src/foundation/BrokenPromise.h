#pragma once

#include <cstdio>
#include <cstdlib>

namespace quillard {

// Ends the process with a line that says which promise of our own code was broken. Never for what comes from outside.
[[noreturn]] inline void stopForBrokenPromise(const char* what) {
  std::fputs(what, stderr);
  std::fputc('\n', stderr);
  std::abort();
}

}  // namespace quillard
