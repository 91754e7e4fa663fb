#pragma once

#include <optional>
#include <string>

#include "companion/relay/rules/PhonePage.h"

namespace quillard::relayserver {

// Reads all files below `folder`, but those whose names begin with a dot, links, and compressed forms that are older
// than their file. The page is read once, before the relay serves, and is not read again. Absent, with the reason in
// `why`: there is no index.html, something cannot be read, or it is too much (2,000 files, 64 MiB).
[[nodiscard]] std::optional<PhonePage> readPhonePage(const std::string& folder, std::string& why);

}  // namespace quillard::relayserver
