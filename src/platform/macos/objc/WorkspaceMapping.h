#pragma once

#include <optional>
#include <string_view>

#include "platform/desktop/Workspace.h"

// The workspace's numbers and names in our words, and back. Pure functions.
namespace quillard::macos {

// A number that is none of the system's counts as `prohibited`: nothing is known of the windows of such a program.
[[nodiscard]] platform::ActivationPolicy activationPolicyFrom(long number);
[[nodiscard]] long activationPolicyNumber(platform::ActivationPolicy policy);

// Absent for a notification that no observer here waits for.
[[nodiscard]] std::optional<platform::WorkspaceEventKind> eventKindFrom(std::string_view notificationName);

}  // namespace quillard::macos
