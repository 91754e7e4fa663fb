#include "platform/macos/process/MacEnvironment.h"

#include <cstdlib>

namespace quillard::macos {

std::optional<std::string> MacEnvironment::value(std::string_view name) const {
  constexpr std::string_view kNeverInNames{"=\0", 2};
  if (name.empty() || name.find_first_of(kNeverInNames) != std::string_view::npos) return std::nullopt;
  const char* const found = std::getenv(std::string(name).c_str());
  if (!found) return std::nullopt;
  return std::string(found);
}

}  // namespace quillard::macos
