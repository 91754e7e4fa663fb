#include "platform/simulated/SimulatedEnvironment.h"

namespace quillard::platform::simulated {

void SimulatedEnvironment::set(std::string_view name, std::string_view value) {
  const MutexLock lock{mutex};
  values.insert_or_assign(std::string(name), std::string(value));
}

void SimulatedEnvironment::unset(std::string_view name) {
  const MutexLock lock{mutex};
  const auto found = values.find(name);
  if (found != values.end()) values.erase(found);
}

std::optional<std::string> SimulatedEnvironment::value(std::string_view name) const {
  const MutexLock lock{mutex};
  const auto found = values.find(name);
  if (found == values.end()) return std::nullopt;
  return found->second;
}

}  // namespace quillard::platform::simulated
