#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::proc {

// What follows the last "/".
[[nodiscard]] std::string baseName(std::string_view path);

// Whether a program of this name runs scripts, so that the script says more than the program: python3.11, perl, bash...
[[nodiscard]] bool isInterpreter(std::string_view name);

// The script that an interpreter was started with: its first argument that is no option, or the module behind "-m".
// `words`: the interpreter, then its arguments. Absent when it reads no script from a file.
[[nodiscard]] std::optional<std::string> scriptOf(const std::vector<std::string>& words);

}  // namespace quillard::proc
