#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/process/LockFiles.h"

namespace quillard::platform::simulated {

class SimulatedLockFiles;

// The temporary folder of one user, in which processes lock files. Any number of `SimulatedLockFiles` share one.
class SimulatedLockFolder {
 public:
  // From now on no file can be opened. What is locked stays locked.
  void setUnavailable(bool unavailable) { isUnavailable = unavailable; }
  [[nodiscard]] bool isLocked(std::string_view fileName) const { return holders->contains(fileName); }

 private:
  friend class SimulatedLockFiles;
  struct Holder {
    const SimulatedLockFiles* process = nullptr;
    std::uint64_t acquisition = 0;  // Counts from 1: one lock, however often a file is locked.
  };
  using Holders = std::map<std::string, Holder, std::less<>>;  // By file.
  struct Lock;

  std::shared_ptr<Holders> holders = std::make_shared<Holders>();  // Shared with the locks, which may outlive this.
  std::uint64_t acquisitions = 0;
  bool isUnavailable = false;
};

// The locks of one process, all of which are released when it ends: when this is destroyed.
class SimulatedLockFiles final : public LockFiles {
 public:
  // `folder` outlives this.
  explicit SimulatedLockFiles(SimulatedLockFolder& folder) : folder(folder) {}
  ~SimulatedLockFiles() override;
  SimulatedLockFiles(const SimulatedLockFiles&) = delete;
  SimulatedLockFiles& operator=(const SimulatedLockFiles&) = delete;

  // How many locks this process holds.
  [[nodiscard]] std::size_t heldCount() const;

  [[nodiscard]] LockResult acquire(std::string_view fileName) override;

 private:
  SimulatedLockFolder& folder;
};

}  // namespace quillard::platform::simulated
