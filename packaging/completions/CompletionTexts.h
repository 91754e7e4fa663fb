#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "packaging/completions/CommandDescription.h"

// What the three kinds of scripts share.
namespace quillard::completions {

// Each command with its path, "quillard relay set", the program first.
inline void forEachCommand(const CommandDescription& command, const std::string& path,
                           const std::function<void(const CommandDescription&, const std::string&)>& visit) {
  visit(command, path);
  for (const auto& one : command.commands) forEachCommand(one, path + " " + one.name, visit);
}

[[nodiscard]] inline std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
  std::string all;
  for (const auto& text : texts) all += (all.empty() ? "" : std::string(separator)) + text;
  return all;
}

[[nodiscard]] inline std::string replaced(std::string text, std::string_view part, std::string_view by) {
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + by.size())) {
    text.replace(at, part.size(), by);
  }
  return text;
}

// As a word of the shell, whatever is in it.
[[nodiscard]] inline std::string quoted(const std::string& text) { return "'" + replaced(text, "'", "'\\''") + "'"; }

// The name of a function of the shell.
[[nodiscard]] inline std::string identifier(const std::string& path) {
  return "_" + replaced(replaced(path, " ", "__"), "-", "_");
}

// The first line of a description: a completion has no room for more.
[[nodiscard]] inline std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace quillard::completions
