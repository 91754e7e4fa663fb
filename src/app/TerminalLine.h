#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "app/Output.h"

// What a person types at the terminal of this process. Blocks.
namespace quillard::app {

// A line of standard input without its end, of `longest` bytes at most; what is there, where the input ends before the
// line does. Absent: it cannot be read.
[[nodiscard]] std::optional<std::string> readInputLine(std::size_t longest);

// Whether such a line agrees.
[[nodiscard]] bool isYes(std::string_view line);

// Whether a person says yes to `question`, which is asked where errors are printed. Absent: standard input or error is
// no terminal, and nothing was asked.
[[nodiscard]] std::optional<bool> agreesAtTerminal(const std::string& question, const Output& output);

}  // namespace quillard::app
