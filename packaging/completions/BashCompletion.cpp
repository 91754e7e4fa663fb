#include "packaging/completions/CompletionTexts.h"
#include "packaging/completions/Completions.h"

namespace quillard::completions {
namespace {

// The loop that finds the command among the words before the one that is typed.
std::string pathLoop(const CommandDescription& program) {
  std::vector<std::string> paths;
  forEachCommand(program, program.name, [&](const auto& /*command*/, const std::string& path) {
    if (path != program.name) paths.push_back(quoted(path));
  });
  return "  local i path=" + quoted(program.name) +
         "\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    case \"$path ${COMP_WORDS[i]}\" in\n"
         "      " +
         joined(paths, " | ") +
         ") path+=\" ${COMP_WORDS[i]}\" ;;\n"
         "      *) [[ ${COMP_WORDS[i]} == -- ]] && return ;;\n"
         "    esac\n"
         "  done\n";
}

std::string replyOf(const OptionDescription& option) {
  if (option.takesPath()) return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")";
  if (option.values.empty()) return ":";
  return "mapfile -t COMPREPLY < <(compgen -W " + quoted(joined(option.values, " ")) + " -- \"$cur\")";
}

// What completes the value of an option of that command.
std::string valueCases(const CommandDescription& command) {
  std::string cases;
  for (const auto& option : command.options) {
    if (option.valueName.empty()) continue;
    cases += "        " + joined(option.names, " | ") + ") " + replyOf(option) + "; return ;;\n";
  }
  return cases.empty() ? "" : "      case \"$previous\" in\n" + cases + "      esac\n";
}

std::string commandCase(const CommandDescription& command, const std::string& path) {
  std::vector<std::string> options;
  std::vector<std::string> words;
  for (const auto& option : command.options) options.insert(options.end(), option.names.begin(), option.names.end());
  for (const auto& one : command.commands) words.push_back(one.name);
  std::string reply;
  for (const auto& argument : command.arguments) {
    words.insert(words.end(), argument.values.begin(), argument.values.end());
    if (argument.takesPath()) reply = "; [[ $cur == -* ]] || { " + replyOf(argument) + "; return; }";
  }
  return "    " + quoted(path) + ")\n" + valueCases(command) + "      options=" + quoted(joined(options, " ")) +
         " words=" + quoted(joined(words, " ")) + reply + " ;;\n";
}

}  // namespace

std::string bashCompletion(const CommandDescription& program) {
  std::string cases;
  forEachCommand(program, program.name,
                 [&](const auto& command, const std::string& path) { cases += commandCase(command, path); });
  const auto function = identifier(program.name);
  return "# Completes " + program.name + " in bash. Made from its command line: do not edit.\n" + function +
         "() {\n"
         "  COMPREPLY=()\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options words\n"
         "  if [[ $cur == = ]]; then\n"
         "    cur=\n"
         "  elif [[ $previous == = ]]; then\n"
         "    previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
         "  fi\n" +
         pathLoop(program) + "  case \"$path\" in\n" + cases +
         "  esac\n"
         "  [[ $cur == -* ]] && words=$options\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$cur\")\n"
         "}\n"
         "complete -F " +
         function + " " + program.name + "\n";
}

}  // namespace quillard::completions
