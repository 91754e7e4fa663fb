#include "private-desktop/samples/SampleOutcome.h"

#include <iostream>

#include <unistd.h>

namespace quillard::samples {

SampleOutcome::SampleOutcome(const SampleOptions& options)
    : ignoredPresses(options.ignoredPresses),
      hangsOnPress(options.hangsOnPress),
      hasSuccessor(options.successorTitle.has_value()) {}

SampleOutcome::Next SampleOutcome::press(const std::string& label) {
  std::cout << "pressed: " << label << std::endl;
  if (hangsOnPress) hang();
  if (ignoredPresses > 0) {
    --ignoredPresses;
    return Next::stays;
  }
  if (!hasSuccessor) return Next::ends;
  hasSuccessor = false;
  return Next::isSucceeded;
}

void SampleOutcome::windowIsUp() {
  if (!isReady) std::cout << "ready" << std::endl;
  isReady = true;
}

void hang() {
  std::cout << "hangs" << std::endl;
  while (true) ::pause();
}

}  // namespace quillard::samples
