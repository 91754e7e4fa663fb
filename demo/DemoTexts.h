#pragma once

#include <optional>
#include <string>

namespace quillard::demo {

// What ./run tells the person who started it. Pure functions of their arguments; texts end in a line break.

struct Situation {
  bool isPrivate = false;              // On a desktop of its own, which the person cannot see.
  std::optional<std::string> page;     // Its address. Absent: the relay is another one, and so is its page.
  bool isOnUsualPort = true;           // Otherwise that was taken.
  std::optional<std::string> pairing;  // What the code holds, where it may be shown.
  std::string code;                    // The code itself as lines of the terminal, where it may be shown and fits.
  bool isRemote = false;               // The person sits at another computer, with a shell here.
};
[[nodiscard]] std::string welcome(const Situation& situation);

// `label`: empty when it went without an answer.
[[nodiscard]] std::string sampleAnswered(const std::string& label);

// The answer to a second ./run without options.
[[nodiscard]] std::string alreadyUp(const std::string& page);

// Whether lines of text fit into a terminal, with `below` more lines under them.
[[nodiscard]] bool fits(const std::string& lines, int columns, int rows, int below);

}  // namespace quillard::demo
