#include "click/PromptWatch.h"

#include <algorithm>

namespace quillard {

namespace {

constexpr Seconds kLongestSlice{0.1};

}  // namespace

bool PromptWatch::sleep(Seconds duration) const {
  // By the moment of its end, so that slices that come late do not add up.
  const auto end = advanced(clock.monotonicNow(), duration);
  while (!shouldStop()) {
    const Seconds remaining = end - clock.monotonicNow();
    if (remaining <= Seconds::zero()) return true;
    clock.sleep(std::min(remaining, kLongestSlice));
  }
  return false;
}

ClickProgress PromptWatch::waitToClear(std::span<const Seconds> delays) const {
  for (const Seconds delay : delays) {
    if (!sleep(delay)) return ClickProgress::stopped;
    if (!isPromptStillPresent()) return ClickProgress::promptGone;
  }
  return ClickProgress::promptRemains;
}

}  // namespace quillard
