#include "packaging/completions/CompletionTexts.h"
#include "packaging/completions/Completions.h"

namespace quillard::completions {
namespace {

// Within the brackets of a specification.
std::string explained(const std::string& text) {
  auto safe = replaced(firstLine(text), "\\", "\\\\");
  for (const char* special : {"[", "]", ":"}) safe = replaced(safe, special, std::string("\\") + special);
  return safe;
}

// ":name:how its values are completed".
std::string valueOf(const OptionDescription& option) {
  if (option.valueName.empty()) return "";
  const std::string name = ":" + option.valueName + ":";
  if (option.takesPath()) return name + "_files";
  if (option.values.empty()) return name + " ";
  return name + "(" + joined(option.values, " ") + ")";
}

std::vector<std::string> specifications(const CommandDescription& command) {
  std::vector<std::string> all;
  for (const auto& option : command.options) {
    const std::string others = option.mayRepeat ? "*" : "(" + joined(option.names, " ") + ")";
    for (const auto& name : option.names) {
      all.push_back(quoted(others + name + "[" + explained(option.description) + "]" + valueOf(option)));
    }
  }
  if (!command.commands.empty()) return all;
  for (std::size_t i = 0; i < command.arguments.size(); ++i) {
    all.push_back(quoted(std::to_string(i + 1) + ":" + valueOf(command.arguments[i])));
  }
  return all;
}

std::string simpleFunction(const CommandDescription& command, const std::string& path) {
  const auto all = specifications(command);
  return identifier(path) + "() {\n  _arguments -s -S" + (all.empty() ? "" : " \\\n    " + joined(all, " \\\n    ")) +
         "\n}\n\n";
}

std::string functionWithCommands(const CommandDescription& command, const std::string& path) {
  auto all = specifications(command);
  all.push_back("'1: :->command'");
  all.push_back("'*:: :->arguments'");
  std::vector<std::string> names;
  std::string cases;
  for (const auto& one : command.commands) {
    names.push_back(quoted(one.name + ":" + replaced(firstLine(one.description), ":", "\\:")));
    cases += "        " + one.name + ") " + identifier(path + " " + one.name) + " ;;\n";
  }
  return identifier(path) +
         "() {\n"
         "  local context state state_descr line\n"
         "  typeset -A opt_args\n"
         "  _arguments -C -s -S \\\n    " +
         joined(all, " \\\n    ") +
         "\n"
         "  case $state in\n"
         "    command)\n"
         "      local -a commands=(\n        " +
         joined(names, "\n        ") +
         "\n      )\n"
         "      _describe -t commands command commands ;;\n"
         "    arguments)\n"
         "      case $line[1] in\n" +
         cases +
         "      esac ;;\n"
         "  esac\n"
         "}\n\n";
}

}  // namespace

std::string zshCompletion(const CommandDescription& program) {
  std::string text = "#compdef " + program.name + "\n# Completes " + program.name +
                     " in zsh. Made from its command line: do not edit.\n\n";
  forEachCommand(program, program.name, [&](const auto& command, const std::string& path) {
    text += command.commands.empty() ? simpleFunction(command, path) : functionWithCommands(command, path);
  });
  return text + identifier(program.name) + " \"$@\"\n";
}

}  // namespace quillard::completions
