#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quillard::desktop {

struct SmallFileProblem {
  bool isAbsent = false;    // There is no such file: an everyday answer.
  std::string description;  // For people to read; names no path.
};

// The bytes of a plain file of at most `largest` bytes; links are followed. Anything else than a file under the name (a
// pipe, a folder) is a problem, and is not waited for.
[[nodiscard]] std::variant<std::string, SmallFileProblem> readSmallFile(const std::string& path, std::size_t largest);

// The same of a file that need not be there. Absent: it is not, or it cannot be read.
[[nodiscard]] std::optional<std::string> smallFileText(const std::string& path, std::size_t largest);

// Puts a file that everybody may read in the place of what is under the name, whole or not at all; a link there is
// replaced, not followed. The folder is there. Absent on success, else what went wrong.
[[nodiscard]] std::optional<std::string> replaceSmallFile(const std::string& path, std::string_view bytes);

}  // namespace quillard::desktop
