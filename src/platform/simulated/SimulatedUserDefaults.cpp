#include "platform/simulated/SimulatedUserDefaults.h"

#include <utility>

namespace quillard::platform::simulated {

SimulatedUserDefaults::SimulatedUserDefaults() : SimulatedUserDefaults(std::make_shared<Disk>()) {}

SimulatedUserDefaults::SimulatedUserDefaults(std::shared_ptr<Disk> disk) : disk(std::move(disk)) {}

std::unique_ptr<SimulatedUserDefaults> SimulatedUserDefaults::openedByAnother() {
  std::unique_ptr<SimulatedUserDefaults> other(new SimulatedUserDefaults(disk));
  (void)other->synchronize();
  return other;
}

void SimulatedUserDefaults::setDiskFull(bool isFull) {
  const MutexLock lock{disk->mutex};
  disk->isFull = isFull;
}

std::vector<std::string> SimulatedUserDefaults::keys() const {
  const MutexLock lock{mutex};
  std::vector<std::string> names;
  for (const auto& [key, value] : values) names.push_back(key);
  return names;
}

std::optional<UserDefaultsValue> SimulatedUserDefaults::object(std::string_view key) const {
  const MutexLock lock{mutex};
  const auto found = values.find(key);
  if (found == values.end()) return std::nullopt;
  return found->second;
}

void SimulatedUserDefaults::set(std::string_view key, UserDefaultsValue value) {
  const MutexLock lock{mutex};
  if (isLost()) return;
  changes.insert_or_assign(std::string(key), value);
  values.insert_or_assign(std::string(key), std::move(value));
  (void)write();
}

void SimulatedUserDefaults::remove(std::string_view key) {
  const MutexLock lock{mutex};
  const auto found = values.find(key);
  if (found == values.end() || isLost()) return;
  values.erase(found);
  changes.insert_or_assign(std::string(key), std::nullopt);
  (void)write();
}

std::optional<std::string> SimulatedUserDefaults::synchronize() {
  const MutexLock lock{mutex};
  const bool isWritten = write();
  const MutexLock diskLock{disk->mutex};
  values = disk->values;
  for (const auto& [key, value] : changes) {
    if (value) {
      values.insert_or_assign(key, *value);
    } else {
      values.erase(key);
    }
  }
  if (isWritten) return std::nullopt;
  return "The simulated settings cannot be written: The disk is full.";
}

bool SimulatedUserDefaults::write() {
  const MutexLock diskLock{disk->mutex};
  if (changes.empty()) return true;
  if (disk->isFull) return false;
  for (auto& [key, value] : changes) {
    if (value) {
      disk->values.insert_or_assign(key, *std::move(value));
    } else {
      disk->values.erase(key);
    }
  }
  changes.clear();
  return true;
}

void SimulatedUserDefaults::loseChangesAfter(std::size_t kept) {
  const MutexLock lock{mutex};
  changesLeft = kept;
  hasLost = false;
}

bool SimulatedUserDefaults::keepChanges() {
  const MutexLock lock{mutex};
  changesLeft.reset();
  return hasLost;
}

bool SimulatedUserDefaults::isLost() {
  if (!changesLeft) return false;
  if (*changesLeft == 0) return hasLost = true;
  --*changesLeft;
  return false;
}

}  // namespace quillard::platform::simulated
