#include "private-desktop/samples/SampleOutcome.h"

#include <iostream>

#include <unistd.h>

namespace quillard::samples {

SampleOutcome::SampleOutcome(const SampleOptions& options)
    : prefix(options.isTwin ? "twin " : ""),
      hangsOnPress(options.hangsOnPress),
      fallsSilentOnPress(options.fallsSilentOnPress),
      ignoredPresses(options.ignoredPresses),
      successors(options.repetitions + (options.successorTitle ? 1 : 0)) {}

SampleOutcome::Next SampleOutcome::press(const std::string& label) {
  std::cout << prefix << "pressed: " << label << std::endl;
  if (hangsOnPress) hang();
  if (ignoredPresses > 0) {
    --ignoredPresses;
    return Next::stays;
  }
  if (successors > 0) {
    --successors;
    return Next::isSucceeded;
  }
  return fallsSilentOnPress ? Next::fallsSilent : Next::ends;
}

void SampleOutcome::windowIsUp() {
  if (!isReady) std::cout << prefix << "ready" << std::endl;
  isReady = true;
}

bool OpenPrompts::closeOne(int exitCode) {
  if (--count > 0) return true;
  end(exitCode);
  return false;
}

void hang() {
  std::cout << "hangs" << std::endl;
  while (true) ::pause();
}

}  // namespace quillard::samples
