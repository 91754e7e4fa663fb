#include "platform/simulated/SimulatedUserDefaults.h"

#include <utility>

namespace quillard::platform::simulated {

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
  values.insert_or_assign(std::string(key), std::move(value));
}

void SimulatedUserDefaults::remove(std::string_view key) {
  const MutexLock lock{mutex};
  const auto found = values.find(key);
  if (found != values.end()) values.erase(found);
}

}  // namespace quillard::platform::simulated
