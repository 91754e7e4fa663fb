#include "detection/KnownPromptService.h"

#include <algorithm>
#include <array>

#include "foundation/Text.h"

namespace quillard {
namespace {

constexpr std::array<std::string_view, 3> kIdentifierParts{"securityagent", "coreservicesuiagent", "loginwindow"};
constexpr std::array<std::string_view, 4> kNameParts{"securityagent", "core services ui agent", "coreservicesuiagent",
                                                     "loginwindow"};

template <class Parts>
bool containsAny(std::string_view text, const Parts& parts) {
  const std::string lower = text::lowercased(text);
  return std::any_of(parts.begin(), parts.end(),
                     [&](std::string_view part) { return lower.find(part) != std::string::npos; });
}

}  // namespace

bool isKnownPromptService(const std::optional<std::string>& bundleIdentifier, std::string_view name) {
  return (bundleIdentifier && containsAny(*bundleIdentifier, kIdentifierParts)) || containsAny(name, kNameParts);
}

}  // namespace quillard
