#include "platform/simulated/SimulatedLockFiles.h"

#include <algorithm>
#include <utility>

namespace quillard::platform::simulated {

// Releases nothing that its process has lost or another one has taken since.
struct SimulatedLockFolder::Lock final : FileLock {
  Lock(std::shared_ptr<Holders> holders, std::string fileName, std::uint64_t acquisition)
      : holders(std::move(holders)), fileName(std::move(fileName)), acquisition(acquisition) {}
  ~Lock() override {
    const auto found = holders->find(fileName);
    if (found != holders->end() && found->second.acquisition == acquisition) holders->erase(found);
  }

  const std::shared_ptr<Holders> holders;
  const std::string fileName;
  const std::uint64_t acquisition;
};

SimulatedLockFiles::~SimulatedLockFiles() {
  std::erase_if(*folder.holders, [this](const auto& holder) { return holder.second.process == this; });
}

std::size_t SimulatedLockFiles::heldCount() const {
  const auto& holders = *folder.holders;
  return static_cast<std::size_t>(std::count_if(holders.begin(), holders.end(),
                                                [this](const auto& holder) { return holder.second.process == this; }));
}

LockResult SimulatedLockFiles::acquire(std::string_view fileName) {
  const bool isFileName =
      !fileName.empty() && fileName != "." && fileName != ".." && fileName.find('/') == fileName.npos;
  if (folder.isUnavailable || !isFileName) return {LockOutcome::unavailable, nullptr};
  if (folder.isLocked(fileName)) return {LockOutcome::heldElsewhere, nullptr};
  const std::string name(fileName);
  const auto acquisition = ++folder.acquisitions;
  folder.holders->insert_or_assign(name, SimulatedLockFolder::Holder{this, acquisition});
  return {LockOutcome::acquired, std::make_unique<SimulatedLockFolder::Lock>(folder.holders, name, acquisition)};
}

}  // namespace quillard::platform::simulated
