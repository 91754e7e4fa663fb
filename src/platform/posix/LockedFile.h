#pragma once

#include <cstdint>
#include <string_view>

#include "platform/process/LockFiles.h"

namespace quillard::desktop {

// Takes the lock on the file `name` of the open `folder`, which stays the caller's; the file is made when it is
// missing, for its owner alone. The lock goes with the process, however that ends; programs that the process starts do
// not inherit it. Unavailable when `name` is no name of a file, and when something else than a file of this user waits
// there (a link, a pipe, a folder, another user's file), which is left alone. Any thread.
[[nodiscard]] platform::LockResult lockFileIn(int folder, std::string_view name);

// Of a lock that was taken; nothing happens for a negative number. The file stays behind, empty.
void unlockFile(std::int32_t descriptor);

}  // namespace quillard::desktop
