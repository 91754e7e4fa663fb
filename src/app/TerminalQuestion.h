#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <variant>

#include "questions/QuestionRequest.h"

namespace quillard::app {

// Why a question at a terminal has no answer.
enum class TerminalEnd {
  noTerminal,   // It cannot be written to or read from, or has ended.
  timedOut,     // Nothing was chosen in time.
  interrupted,  // Whoever asks has ended.
};

// Writes the question to `terminal` and reads lines from there until one names a button, for `timeout` at the most.
// `hasEnded`: whether nobody waits for the answer any more; it is asked every second. Blocks. The descriptor stays
// open.
[[nodiscard]] std::variant<std::size_t, TerminalEnd> askAtTerminal(int terminal, const QuestionRequest& request,
                                                                   Seconds timeout,
                                                                   const std::function<bool()>& hasEnded);

}  // namespace quillard::app
