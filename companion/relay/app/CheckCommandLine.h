#pragma once

#include <string>
#include <variant>
#include <vector>

#include "companion/relay/app/RelayCommandLine.h"
#include "companion/relay/check/RelayCheck.h"

namespace quillard::relayserver {

// What `quillard-relay check` was asked for.
[[nodiscard]] std::variant<RelayCheckOptions, CommandLineMessage> readCheckOptions(
    const std::vector<std::string>& arguments);
void withCheckCommandLine(const UseCommandLine& use);

}  // namespace quillard::relayserver
