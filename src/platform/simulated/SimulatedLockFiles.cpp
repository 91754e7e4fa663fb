#include "platform/simulated/SimulatedLockFiles.h"

#include "foundation/BrokenPromise.h"

namespace quillard::platform::simulated {

SimulatedLockFiles::~SimulatedLockFiles() {
  while (!held.empty()) release(held.begin()->first);
}

LockResult SimulatedLockFiles::acquire(std::string_view fileName) {
  const bool isFileName =
      !fileName.empty() && fileName != "." && fileName != ".." && fileName.find('/') == fileName.npos;
  if (folder.isUnavailable || !isFileName) return {LockOutcome::unavailable, -1};
  if (folder.isLocked(fileName)) return {LockOutcome::heldElsewhere, -1};
  const std::int32_t descriptor = folder.nextDescriptor++;
  folder.holders.emplace(fileName, descriptor);
  held.emplace(descriptor, fileName);
  return {LockOutcome::acquired, descriptor};
}

void SimulatedLockFiles::release(std::int32_t descriptor) {
  const auto lock = held.extract(descriptor);
  if (lock.empty()) stopForBrokenPromise("A lock was released that is not held.");
  folder.holders.erase(lock.mapped());
}

}  // namespace quillard::platform::simulated
