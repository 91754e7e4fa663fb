#include "packaging/completions/ManualPages.h"

#include <cstddef>
#include <sstream>
#include <utility>

#include "packaging/completions/CompletionTexts.h"

namespace quillard::completions {
namespace {

// As man(7) takes it: a hyphen of ours is one that can be typed, and a line does not begin with a request.
std::string escaped(const std::string& text) {
  auto safe = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
  if (safe.starts_with('.') || safe.starts_with('\'')) safe = "\\&" + safe;
  return safe;
}

// A list of one is as good as that one.
std::string withoutBrackets(const std::string& text) {
  return text.starts_with('[') && text.ends_with(']') ? text.substr(1, text.size() - 2) : text;
}

std::string entryOf(const OptionDescription& option, const std::string& environmentPrefix) {
  std::string text = ".TP\n.B " + escaped(joined(option.names, ", "));
  if (!option.valueName.empty()) {
    text += " \\fI" + escaped(option.values.empty() ? option.valueName : joined(option.values, "|")) + "\\fR";
  }
  text += "\n" + (option.description.empty() ? "The same." : escaped(option.description)) + ".\n";
  if (!option.fallback.empty() && !option.valueName.empty()) {
    text += "Default: " + escaped(withoutBrackets(option.fallback)) + ".\n";
  }
  if (!environmentPrefix.empty()) {
    text += ".br\n" + variableOf(option.names.back(), environmentPrefix) + "\n";
  }
  return text;
}

// A page without its markup, line by line.
std::vector<std::string> plainLines(const std::string& page) {
  std::vector<std::string> lines;
  std::istringstream stream(page);
  for (std::string line; std::getline(stream, line);) {
    for (const char* font : {"\\fI", "\\fR", "\\fB", "\\c", "\""}) line = replaced(line, font, "");
    line = replaced(line, "\\-", "-");
    for (const char* macro : {".BR ", ".B ", ".RB ", ".BI "}) {
      if (line.starts_with(macro)) line = line.substr(std::string_view(macro).size());
    }
    lines.push_back(line);
  }
  return lines;
}

bool isHeadOf(const std::string& line, const std::string& command) {
  if (!line.starts_with(command)) return false;
  const auto rest = line.substr(command.size());
  return rest.empty() || rest.front() == ' ';
}

// The entry of each command: from its head to that of the next one. Absent members: it has none.
std::map<std::string, std::string> entriesOf(const std::vector<std::string>& lines,
                                             const std::vector<std::string>& commands) {
  std::map<std::string, std::string> entries;
  std::string current;
  bool isAmongCommands = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].starts_with(".SH ")) {
      isAmongCommands = lines[i] == ".SH COMMANDS";
      current.clear();
    }
    if (isAmongCommands && i > 0 && lines[i - 1] == ".TP") {
      std::size_t longest = 0;  // "relay set" rather than "relay".
      for (const auto& command : commands) {
        if (!isHeadOf(lines[i], command) || command.size() <= longest) continue;
        longest = command.size();
        current = command;
      }
    }
    if (!current.empty()) entries[current] += " " + lines[i] + " ";
  }
  return entries;
}

// As a word of its own: "--text" is not in "--text-file".
bool names(const std::string& text, const std::string& option) {
  for (auto at = text.find(option); at != std::string::npos; at = text.find(option, at + 1)) {
    const char after = text[at + option.size()];
    const bool goesOn = after == '-' || (after >= 'a' && after <= 'z');
    if (!goesOn && (at == 0 || text[at - 1] != '-')) return true;
  }
  return false;
}

}  // namespace

std::string variableOf(const std::string& option, const std::string& environmentPrefix) {
  std::string name = environmentPrefix;
  for (const char c : option.substr(2)) name += c == '-' ? '_' : static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return name;
}

std::string optionEntries(const CommandDescription& command, const std::string& environmentPrefix) {
  std::vector<std::string> groups;
  std::map<std::string, std::string> entries;
  for (const auto& option : command.options) {
    if (!entries.contains(option.group)) groups.push_back(option.group);
    const bool isSetting = option.names.back() != "--help" && option.names.back() != "--version";
    entries[option.group] += entryOf(option, isSetting ? environmentPrefix : "");
  }
  std::string text;
  for (const auto& group : groups) text += ".SS " + escaped(group) + "\n" + entries[group];
  return text;
}

std::string commandEntries(const CommandDescription& program) {
  std::string text;
  for (const auto& command : program.commands) {
    text += ".TP\n.B " + command.name;
    for (const auto& argument : command.arguments) text += " \\fI" + escaped(argument.valueName) + "\\fR";
    text += "\n" + escaped(command.description) + "\n.RS\n";
    for (const auto& option : command.options) text += entryOf(option, "");
    text += ".RE\n";
  }
  return text;
}

std::vector<std::string> missingIn(const std::string& page, const CommandDescription& program) {
  const auto lines = plainLines(page);
  std::vector<std::string> commands;
  forEachCommand(program, "", [&](const auto& command, const std::string& path) {
    if (!path.empty() && command.commands.empty()) commands.push_back(path.substr(1));
  });
  const auto entries = entriesOf(lines, commands);
  const auto all = joined(lines, " ") + " ";
  std::vector<std::string> missing;
  forEachCommand(program, "", [&](const auto& command, const std::string& path) {
    const std::string name = path.empty() ? "" : path.substr(1);
    const auto entry = entries.find(name);
    const bool isLeaf = !path.empty() && command.commands.empty();
    if (isLeaf && entry == entries.end()) missing.push_back(name);
    for (const auto& option : command.options) {
      for (const auto& one : option.names) {
        const bool isForAll = one == "-h" || one == "--help" || !isLeaf;
        if (!names(isForAll ? all : entry == entries.end() ? "" : entry->second, one)) {
          missing.push_back(name + (name.empty() ? "" : " ") + one);
        }
      }
    }
  });
  return missing;
}

}  // namespace quillard::completions
