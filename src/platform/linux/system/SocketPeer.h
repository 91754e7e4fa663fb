#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/LocalSocketFile.h"
#include "platform/process/Environment.h"
#include "platform/process/LocalSockets.h"
#include "platform/qt/QtLocalSockets.h"

namespace quillard::desktop {

// What the kernel says of a process, which has to be this user's. All but the number is empty when it has ended.
[[nodiscard]] platform::ProcessDescription describeProcess(std::int32_t processIdentifier);

// Who started a process that has this parent: the parent, unless that is the session's manager, which also takes in
// processes whose parent has ended. `cgroups`: of the process, as the kernel lists them. A service is named by its
// unit; what is in none was started by a process that has ended: absent.
[[nodiscard]] std::optional<platform::ProcessDescription> starterOf(const platform::ProcessDescription& parent,
                                                                    std::string_view cgroups);

// Who is at the other end of a connected socket of the file system. Absent: another user, or the kernel does not say.
[[nodiscard]] std::optional<platform::LocalPeer> peerOf(int descriptor);

// The socket of that name that systemd has opened for this process (LISTEN_FDS). Absent: none.
[[nodiscard]] std::optional<int> inheritedSocket(const platform::Environment& environment, std::string_view name);

// Listens in the user's folder for the session. Whoever connects without knowing it (a job of cron, say) finds that of
// a session of the same user, too. `environment` outlives what is returned.
[[nodiscard]] qt::LocalSocketTraits localSocketTraits(const platform::Environment& environment);

}  // namespace quillard::desktop
