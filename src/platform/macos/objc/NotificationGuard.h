#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillard::macos {

// Whether a process of this bundle may ask for the notification centre, which ends a process that is no application: it
// has to have an identifier, and to be the main program of a folder that ends in ".app".
[[nodiscard]] bool mayUseNotificationCenter(const std::optional<std::string>& bundleIdentifier,
                                            std::string_view bundlePath);

}  // namespace quillard::macos
