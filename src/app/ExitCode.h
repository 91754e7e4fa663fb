#pragma once

namespace quillard::app {

// What the program ends with, as its manual says.
enum class ExitCode : int {
  fine = 0,
  problemFound = 1,  // It ran, and what it looked at is not as it should be.
  wrongUsage = 2,    // The command line makes no sense.
  cannotDoHere = 3,  // Something that is needed is missing here: a display, accessibility, a relay, a place to write,
                     // an agent that runs.
  // Of `quillard ask`, which ends with `fine` for the first button.
  otherButton = 1,
  timedOut = 4,
  noPhone = 5,
  mutedOrPaused = 6,
  tooMany = 7,
  interrupted = 130,  // By Ctrl-C, or since whoever started it has ended.
};

[[nodiscard]] constexpr int number(ExitCode code) { return static_cast<int>(code); }

}  // namespace quillard::app
