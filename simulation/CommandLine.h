#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "values/Time.h"

namespace quillard::simulation {

// What the program is asked to do.
struct CommandLine {
  std::uint64_t first = 1;
  std::uint64_t last = 1;  // Included.
  bool tracesOne = true;   // One seed, with its trace; else many, with a summary.
  Seconds length{120};     // Of each world.
  bool programsAsk = false;
  bool isHelpWanted = false;
};

// The arguments without the program's name, or why they cannot be understood.
[[nodiscard]] std::variant<CommandLine, std::string> readCommandLine(const std::vector<std::string>& arguments);

[[nodiscard]] std::string helpText();

using LineWriter = std::function<void(const std::string&)>;

// The whole program. 0: every invariant held; 1: one broke; 2: the arguments are wrong. `print`: the trace or the
// summary; `warn`: what is wrong.
[[nodiscard]] int run(const std::vector<std::string>& arguments, const LineWriter& print, const LineWriter& warn);

}  // namespace quillard::simulation
