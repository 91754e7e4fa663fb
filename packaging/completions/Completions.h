#pragma once

#include <string>

#include "packaging/completions/CommandDescription.h"

// Scripts that complete a program's commands, options and values as they are typed. Functions of the description; each
// text is a whole file.
namespace quillard::completions {

[[nodiscard]] std::string bashCompletion(const CommandDescription& program);
[[nodiscard]] std::string zshCompletion(const CommandDescription& program);
[[nodiscard]] std::string fishCompletion(const CommandDescription& program);

}  // namespace quillard::completions
