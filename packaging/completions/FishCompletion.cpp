#include "packaging/completions/CompletionTexts.h"
#include "packaging/completions/Completions.h"

namespace quillard::completions {
namespace {

// A text of fish in single quotes, in which a backslash counts.
std::string fishQuoted(const std::string& text) {
  return "'" + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string line(const CommandDescription& program, const std::string& path, const std::string& rest,
                 const std::string& description) {
  return "complete -c " + program.name + " -n " + fishQuoted("_" + identifier(program.name) + "_command " + path) +
         " " + rest + (description.empty() ? "" : " -d " + fishQuoted(firstLine(description))) + "\n";
}

std::string valueOf(const OptionDescription& option) {
  if (option.valueName.empty()) return "";
  if (option.takesPath()) return " -r -F";
  if (option.values.empty()) return " -x";
  return " -x -a " + fishQuoted(joined(option.values, " "));
}

std::string linesOf(const CommandDescription& program, const CommandDescription& command, const std::string& path) {
  std::string text;
  for (const auto& one : command.commands) text += line(program, path, "-a " + one.name, one.description);
  for (const auto& option : command.options) {
    std::string names;
    for (const auto& name : option.names) {
      names += (names.empty() ? "" : " ") + (name.starts_with("--") ? "-l " + name.substr(2) : "-s " + name.substr(1));
    }
    text += line(program, path, names + valueOf(option), option.description);
  }
  for (const auto& argument : command.arguments) {
    if (argument.takesPath()) text += line(program, path, "-F", "");
    if (!argument.values.empty()) {
      text += line(program, path, "-a " + fishQuoted(joined(argument.values, " ")), argument.description);
    }
  }
  return text;
}

}  // namespace

std::string fishCompletion(const CommandDescription& program) {
  std::vector<std::string> paths;
  forEachCommand(program, program.name, [&](const auto& /*command*/, const std::string& path) {
    if (path != program.name) paths.push_back(fishQuoted(path));
  });
  std::string text = "# Completes " + program.name +
                     " in fish. Made from its command line: do not edit.\n\n"
                     "# Whether the words before the one that is typed name this command.\n"
                     "function _" +
                     identifier(program.name) +
                     "_command\n"
                     "    set -l path " +
                     program.name +
                     "\n"
                     "    set -l words (commandline -opc)\n"
                     "    set -e words[1]\n"
                     "    for word in $words\n"
                     "        switch \"$path $word\"\n"
                     "            case " +
                     joined(paths, " ") +
                     "\n"
                     "                set path \"$path $word\"\n"
                     "        end\n"
                     "    end\n"
                     "    test \"$path\" = \"$argv\"\n"
                     "end\n\n"
                     "complete -c " +
                     program.name + " -f\n";
  forEachCommand(program, program.name,
                 [&](const auto& command, const std::string& path) { text += linesOf(program, command, path); });
  return text;
}

}  // namespace quillard::completions
