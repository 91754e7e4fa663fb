#include "platform/posix/ProcessEnvironment.h"

#include <cstdlib>

namespace quillard::desktop {

std::optional<std::string> ProcessEnvironment::value(std::string_view name) const {
  constexpr std::string_view kNeverInNames{"=\0", 2};
  if (name.empty() || name.find_first_of(kNeverInNames) != std::string_view::npos) return std::nullopt;
  const char* const found = std::getenv(std::string(name).c_str());
  return found ? std::optional<std::string>(found) : std::nullopt;
}

}  // namespace quillard::desktop
