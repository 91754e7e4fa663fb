#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillard::demo {

// The environment of a program: "NAME=value" each.
using Variables = std::vector<std::string>;

[[nodiscard]] inline Variables with(Variables variables, const std::string& name, const std::string& value) {
  std::erase_if(variables, [&](const std::string& entry) { return entry.rfind(name + "=", 0) == 0; });
  variables.push_back(name + "=" + value);
  return variables;
}

[[nodiscard]] inline Variables without(Variables variables, const std::string& name) {
  std::erase_if(variables, [&](const std::string& entry) { return entry.rfind(name + "=", 0) == 0; });
  return variables;
}

// Absent when it is not set, or set to nothing.
[[nodiscard]] inline std::optional<std::string> valueOf(const Variables& variables, std::string_view name) {
  for (const auto& entry : variables) {
    const bool isIt = entry.size() > name.size() + 1 && entry.rfind(name, 0) == 0 && entry[name.size()] == '=';
    if (isIt) return entry.substr(name.size() + 1);
  }
  return std::nullopt;
}

}  // namespace quillard::demo
