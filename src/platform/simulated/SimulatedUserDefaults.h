#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/storage/UserDefaults.h"

namespace quillard::platform::simulated {

// Settings in memory; outlive the agent under test to simulate its next run. Empty at first. Any thread.
class SimulatedUserDefaults final : public UserDefaults {
 public:
  // Sorted.
  [[nodiscard]] std::vector<std::string> keys() const;

  [[nodiscard]] std::optional<UserDefaultsValue> object(std::string_view key) const override;
  void set(std::string_view key, UserDefaultsValue value) override;
  void remove(std::string_view key) override;

 private:
  mutable Mutex mutex;
  std::map<std::string, UserDefaultsValue, std::less<>> values QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::platform::simulated
