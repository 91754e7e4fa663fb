#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillard::platform {

// The variables that the process was started with. Any thread.
class Environment {
 public:
  virtual ~Environment() = default;

  // The value as it is now, bytes untouched. Absent when the variable is not set; empty when it is set to nothing.
  [[nodiscard]] virtual std::optional<std::string> value(std::string_view name) const = 0;
};

}  // namespace quillard::platform
