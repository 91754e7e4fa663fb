#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/process/LockFiles.h"

namespace quillard::platform::simulated {

// The temporary folder of one user, in which processes lock files. Any number of `SimulatedLockFiles` share one.
class SimulatedLockFolder {
 public:
  // From now on no file can be opened. What is locked stays locked.
  void setUnavailable(bool unavailable) { isUnavailable = unavailable; }
  [[nodiscard]] bool isLocked(std::string_view fileName) const { return holders.contains(fileName); }

 private:
  friend class SimulatedLockFiles;
  std::map<std::string, std::int32_t, std::less<>> holders;  // Descriptors, by file.
  std::int32_t nextDescriptor = 3;
  bool isUnavailable = false;
};

// The locks of one process, which let go when it ends: when this is destroyed.
class SimulatedLockFiles final : public LockFiles {
 public:
  // `folder` outlives this.
  explicit SimulatedLockFiles(SimulatedLockFolder& folder) : folder(folder) {}
  ~SimulatedLockFiles() override;
  SimulatedLockFiles(const SimulatedLockFiles&) = delete;
  SimulatedLockFiles& operator=(const SimulatedLockFiles&) = delete;

  // How many locks this process holds.
  [[nodiscard]] std::size_t heldCount() const { return held.size(); }

  [[nodiscard]] LockResult acquire(std::string_view fileName) override;
  // Stops the process with a message when this process holds no such descriptor.
  void release(std::int32_t descriptor) override;

 private:
  SimulatedLockFolder& folder;
  std::map<std::int32_t, std::string> held;
};

}  // namespace quillard::platform::simulated
