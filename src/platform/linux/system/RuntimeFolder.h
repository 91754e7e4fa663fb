#pragma once

#include <optional>
#include <string>

#include "platform/process/Environment.h"

namespace quillard::desktop {

// This user's folder for what lives no longer than a session: XDG_RUNTIME_DIR where the session has one, else
// "quillard-" and the user's number below TMPDIR or /tmp, made when it is missing.
//
// An open descriptor of it, which the caller closes: what is checked here is what is used later, whatever is renamed
// meanwhile. Absent unless it is a folder of this user that no other user may enter; links are not followed.
[[nodiscard]] std::optional<int> openRuntimeFolder(const platform::Environment& environment);

// The same of a folder that is named; absent also when it is missing.
[[nodiscard]] std::optional<int> openOwnFolder(const std::string& path);

}  // namespace quillard::desktop
