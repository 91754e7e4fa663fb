#pragma once

#include <optional>
#include <string>

#include "platform/process/Environment.h"

namespace quillard::xdg {

// This program's own folder below the user's data or configuration folder. Absolute; it need not exist. Absent for a
// user without a home. A setting that is not absolute is passed over, as the convention demands.
[[nodiscard]] std::optional<std::string> dataFolder(const platform::Environment& environment);
[[nodiscard]] std::optional<std::string> configurationFolder(const platform::Environment& environment);

// The user's home, and the folder that holds the configuration of all their programs. Under the same rules.
[[nodiscard]] std::optional<std::string> homeFolder(const platform::Environment& environment);
[[nodiscard]] std::optional<std::string> configurationHome(const platform::Environment& environment);

}  // namespace quillard::xdg
