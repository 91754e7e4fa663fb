#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillard::app {

// Makes a file for this user alone and writes it. Absent on success, else why not; then no part of it is left. What is
// there already, a link included, is left alone.
[[nodiscard]] std::optional<std::string> writeNewPrivateFile(const std::string& path, std::string_view bytes);

}  // namespace quillard::app
