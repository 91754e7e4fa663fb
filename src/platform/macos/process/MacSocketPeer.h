#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/process/LocalSockets.h"
#include "platform/qt/QtLocalSockets.h"

namespace quillard::macos {

// What the system says of a process, which has to be this user's. All but the number is empty when it has ended.
[[nodiscard]] platform::ProcessDescription describeProcess(std::int32_t processIdentifier);

// Who is at the other end of a connected socket of the file system. Absent: another user, or the system does not say.
[[nodiscard]] std::optional<platform::LocalPeer> peerOf(int descriptor);

// Listens in `folder`, which is the user's own for temporary files, absolute, and has to be closed to all others.
[[nodiscard]] qt::LocalSocketTraits localSocketTraits(std::string folder);

}  // namespace quillard::macos
