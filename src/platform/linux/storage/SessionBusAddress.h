#pragma once

#include <optional>
#include <string>

#include "platform/process/Environment.h"

namespace quillard::xdg {

// Where the user's session bus listens. Absent outside a session. Never starts one.
[[nodiscard]] std::optional<std::string> sessionBusAddress(const platform::Environment& environment);

// Where the bus of the whole computer listens, on which the login manager is.
[[nodiscard]] std::string systemBusAddress(const platform::Environment& environment);

}  // namespace quillard::xdg
