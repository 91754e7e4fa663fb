#include "detection/KnownPromptService.h"

#include <array>
#include <span>

#include "foundation/Text.h"

namespace quillard {
namespace {

constexpr std::array<std::string_view, 3> kIdentifierParts{"securityagent", "coreservicesuiagent", "loginwindow"};
constexpr std::array<std::string_view, 4> kNameParts{"securityagent", "core services ui agent", "coreservicesuiagent",
                                                     "loginwindow"};

bool isNamed(std::string_view name, std::span<const std::string_view> parts) {
  return text::containsAny(text::lowercased(name), parts);
}

}  // namespace

bool isKnownPromptService(const std::optional<std::string>& bundleIdentifier, std::string_view name) {
  return (bundleIdentifier && isNamed(*bundleIdentifier, kIdentifierParts)) || isNamed(name, kNameParts);
}

}  // namespace quillard
