#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/process/Environment.h"

namespace quillard::desktop {

// Where systemd keeps a folder for each user who is logged in, named by the user's number.
inline constexpr std::string_view kSessionFolders = "/run/user";

// This user's folder for what lives no longer than a session: XDG_RUNTIME_DIR where it is set; where it is not (after
// su, in a job of cron), the folder that systemd keeps for the user, since an agent of the session is found there; else
// "quillard-" and the user's number below TMPDIR or /tmp, made when it is missing.
//
// An open descriptor of it, which the caller closes: what is checked here is what is used later, whatever is renamed
// meanwhile. Absent unless it is a folder of this user that no other user may enter; links are not followed.
[[nodiscard]] std::optional<int> openRuntimeFolder(const platform::Environment& environment,
                                                   std::string_view sessionFolders = kSessionFolders);

// Its name where XDG_RUNTIME_DIR or systemd gives one, whether or not that can be used. Absent: neither does.
[[nodiscard]] std::optional<std::string> sessionFolder(const platform::Environment& environment,
                                                       std::string_view sessionFolders = kSessionFolders);

// The same of a folder that is named; absent also when it is missing.
[[nodiscard]] std::optional<int> openOwnFolder(const std::string& path);

}  // namespace quillard::desktop
