#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillard {

// Whether an application is one of the system's own services that exist to put up prompts. By its bundle identifier or
// its name, in any letter case; an absent one tells nothing.
[[nodiscard]] bool isKnownPromptService(const std::optional<std::string>& bundleIdentifier, std::string_view name);

}  // namespace quillard
