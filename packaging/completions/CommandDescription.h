#pragma once

#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace quillard::completions {

// What a command line offers, as plain values: what completions and manual pages are made of.
struct OptionDescription {
  std::vector<std::string> names;   // "-h", "--help": the longest last. Empty: it is known by its place.
  std::string valueName;            // Such as "FILE". Empty: it takes no value.
  std::vector<std::string> values;  // That it takes. Empty: any.
  std::string description;
  std::string fallback;  // Its default; empty: none that would be worth a word.
  std::string group;     // Under which the help lists it.
  bool mayRepeat = false;

  // Of "FILE", "FOLDER" and the like.
  [[nodiscard]] bool takesPath() const;
};

struct CommandDescription {
  std::string name;  // Of the program, or of the subcommand.
  std::string description;
  std::vector<OptionDescription> options;    // That have names.
  std::vector<OptionDescription> arguments;  // That are known by their places, in order.
  std::vector<CommandDescription> commands;
};

// Values of an argument that the command line itself does not list: by the path of its command and its name, such as
// "quillard settings NAME".
using KnownValues = std::map<std::string, std::vector<std::string>>;

// What `app` reads, but for what its help hides. `path`: of the command that it belongs to; empty for the program.
[[nodiscard]] CommandDescription describe(const CLI::App& app, const KnownValues& known = {},
                                          const std::string& path = "");

}  // namespace quillard::completions
