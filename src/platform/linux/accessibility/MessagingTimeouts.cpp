#include "platform/linux/accessibility/MessagingTimeouts.h"

#include <algorithm>

namespace quillard::atspi {

using std::chrono::microseconds;

namespace {

constexpr Seconds kLongest{60};
// Processes come and go, and nobody takes a time-out back: beyond this many, all are forgotten, until they are set
// anew.
constexpr std::size_t kMostProcesses = 4096;

bool isLength(Seconds timeout) { return timeout.count() > 0; }

microseconds usable(Seconds timeout) {
  return std::max(saturatingDuration<microseconds>(std::min(timeout, kLongest)), microseconds{1});
}

}  // namespace

void MessagingTimeouts::setDefault(Seconds timeout) {
  const MutexLock lock(mutex);
  common = isLength(timeout) ? timeout : kInitial;
}

void MessagingTimeouts::setFor(std::int32_t processIdentifier, Seconds timeout) {
  const MutexLock lock(mutex);
  if (!isLength(timeout)) {
    byProcess.erase(processIdentifier);
    return;
  }
  if (byProcess.size() >= kMostProcesses) byProcess.clear();
  byProcess[processIdentifier] = timeout;
}

microseconds MessagingTimeouts::ofDesktop() const {
  const MutexLock lock(mutex);
  return usable(common);
}

microseconds MessagingTimeouts::of(std::int32_t processIdentifier) const {
  const MutexLock lock(mutex);
  const auto own = byProcess.find(processIdentifier);
  return usable(own == byProcess.end() ? common : own->second);
}

}  // namespace quillard::atspi
