// Linked into test programs, and into the agent that tests start: each thread but the first has a stack of 512 KiB,
// which is what a Mac gives, instead of the eight MiB of Linux. What needs more ends here as it would there.

#include <cstddef>

#include <pthread.h>

namespace {

bool limitStacks() {
  constexpr std::size_t kStackOfAMac = std::size_t{512} * 1024;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  const bool isLimited =
      pthread_attr_setstacksize(&attributes, kStackOfAMac) == 0 && pthread_setattr_default_np(&attributes) == 0;
  pthread_attr_destroy(&attributes);
  return isLimited;
}

[[maybe_unused]] const bool areLimited = limitStacks();

}  // namespace
