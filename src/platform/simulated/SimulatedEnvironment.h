#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Mutex.h"
#include "platform/process/Environment.h"

namespace quillard::platform::simulated {

// Variables that a test sets. Empty at first. Any thread.
class SimulatedEnvironment final : public Environment {
 public:
  void set(std::string_view name, std::string_view value);
  // Nothing happens when it is not set.
  void unset(std::string_view name);

  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override;

 private:
  mutable Mutex mutex;
  std::map<std::string, std::string, std::less<>> values QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::platform::simulated
