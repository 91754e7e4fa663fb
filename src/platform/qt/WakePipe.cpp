#include "platform/qt/WakePipe.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace quillard::qt {

std::array<int, 2> makeWakePipe(const char* problem) {
  std::array<int, 2> ends{-1, -1};
  bool works = ::pipe(ends.data()) == 0;
  for (const int end : ends) {
    works = works && ::fcntl(end, F_SETFD, FD_CLOEXEC) == 0 && ::fcntl(end, F_SETFL, O_NONBLOCK) == 0;
  }
  if (!works) {
    std::perror(problem);
    std::abort();
  }
  return ends;
}

}  // namespace quillard::qt
