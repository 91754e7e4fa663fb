#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/storage/UserDefaults.h"

namespace quillard::platform::simulated {

// Settings in memory; outlive the agent under test to simulate its next run. Empty at first. What is set reaches the
// simulated disk immediately, unless that is full. Any thread.
class SimulatedUserDefaults final : public UserDefaults {
 public:
  SimulatedUserDefaults();

  // The same settings as another process opens them now. Each sees what the other has set once it synchronizes.
  [[nodiscard]] std::unique_ptr<SimulatedUserDefaults> openedByAnother();
  // While it is full nothing reaches it.
  void setDiskFull(bool isFull);

  // Sorted.
  [[nodiscard]] std::vector<std::string> keys() const;

  // What a process that is killed leaves: after this many more changes, all others are lost, until `keepChanges`.
  void loseChangesAfter(std::size_t kept);
  // False: none was lost since `loseChangesAfter`.
  bool keepChanges();

  [[nodiscard]] std::optional<UserDefaultsValue> object(std::string_view key) const override;
  void set(std::string_view key, UserDefaultsValue value) override;
  void remove(std::string_view key) override;
  [[nodiscard]] std::optional<std::string> synchronize() override;

 private:
  [[nodiscard]] bool isLost() QUILLARD_REQUIRES(mutex);

  struct Disk;
  explicit SimulatedUserDefaults(std::shared_ptr<Disk> disk);

  using Values = std::map<std::string, UserDefaultsValue, std::less<>>;
  struct Disk {
    Mutex mutex;
    Values values QUILLARD_GUARDED_BY(mutex);
    bool isFull QUILLARD_GUARDED_BY(mutex) = false;
  };

  // False: the disk is full.
  bool write() QUILLARD_REQUIRES(mutex);

  const std::shared_ptr<Disk> disk;
  mutable Mutex mutex;  // Before the disk's.
  Values values QUILLARD_GUARDED_BY(mutex);
  // Not on the disk yet. Absent: removed.
  std::map<std::string, std::optional<UserDefaultsValue>, std::less<>> changes QUILLARD_GUARDED_BY(mutex);
  std::optional<std::size_t> changesLeft QUILLARD_GUARDED_BY(mutex);  // Absent: all are kept.
  bool hasLost QUILLARD_GUARDED_BY(mutex) = false;
};

}  // namespace quillard::platform::simulated
