#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <CLI/CLI.hpp>

#include "companion/relay/app/RelayCommandLine.h"

namespace quillard::relayserver {

// Lets CLI11 read arguments, given without the program's name. Absent: they were read. Else what is printed instead:
// help, or what is wrong.
[[nodiscard]] std::optional<CommandLineMessage> parseArguments(CLI::App& program,
                                                               const std::vector<std::string>& arguments);

// One command of the program: its name, and how CLI11 reads its arguments into `Values`.
template <class Values>
struct Command {
  const char* name;
  void (*describe)(CLI::App& program, Values& values);

  // For completions and the manual.
  void show(const UseCommandLine& use) const {
    CLI::App program("", name);
    Values values;
    describe(program, values);
    use(program);
  }
  // `values`: the defaults.
  [[nodiscard]] std::variant<Values, CommandLineMessage> read(const std::vector<std::string>& arguments,
                                                              Values values = {}) const {
    CLI::App program("", name);
    describe(program, values);
    if (auto message = parseArguments(program, arguments)) return *message;
    return values;
  }
};

}  // namespace quillard::relayserver
