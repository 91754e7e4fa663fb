#include "platform/linux/processes/ScriptVariables.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "foundation/Text.h"

namespace quillard::proc {
namespace {

constexpr std::size_t kLongestResult = 256 * 1024;
constexpr std::size_t kLongestValue = 1024;
constexpr std::size_t kMostVariables = 256;

using Variables = std::map<std::string, std::string, std::less<>>;

bool isNameByte(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

std::string_view nameAt(std::string_view text) {
  const auto end = std::find_if_not(text.begin(), text.end(), isNameByte);
  return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

// `$NAME` and `${NAME}` of those that are known.
std::string expanded(std::string_view text, const Variables& variables) {
  std::string result;
  while (!text.empty()) {
    const auto dollar = std::min(text.find('$'), text.size());
    result.append(text.substr(0, dollar));
    text.remove_prefix(dollar);
    if (text.empty()) break;
    const bool isBraced = text.substr(1).starts_with('{');
    const auto name = nameAt(text.substr(isBraced ? 2 : 1));
    const auto length = name.size() + (isBraced ? 3 : 1);
    const auto found = variables.find(name);
    const bool isWhole = !isBraced || text.substr(length - 1).starts_with('}');
    if (found == variables.end() || !isWhole) {
      result += '$';
      text.remove_prefix(1);
    } else {
      result.append(found->second);
      text.remove_prefix(length);
    }
  }
  return result;
}

bool isPlain(std::string_view value) {
  return value.size() <= kLongestValue && value.find_first_of(" \t\r\"'`$\\;&|<>()") == std::string_view::npos;
}

// Of a line that sets a variable and does nothing else.
void takeAssignment(std::string_view line, Variables& variables) {
  line = text::trimmed(line);
  if (line.starts_with("export ")) line = text::trimmed(line.substr(7));
  const auto name = nameAt(line);
  if (name.empty() || !line.substr(name.size()).starts_with('=')) return;
  auto value = line.substr(name.size() + 1);
  const bool isQuoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.ends_with(value.front());
  if (isQuoted) value = value.substr(1, value.size() - 2);
  if (!isPlain(value)) {
    variables.erase(std::string(name));  // It is something else from here on.
  } else if (variables.size() < kMostVariables) {
    variables.insert_or_assign(std::string(name), std::string(value));
  }
}

}  // namespace

std::string withKnownVariables(std::string_view script) {
  Variables variables;
  std::string result;
  while (!script.empty()) {
    const auto line = script.substr(0, std::min(script.find('\n'), script.size() - 1) + 1);
    script.remove_prefix(line.size());
    const auto known = expanded(line, variables);
    if (result.size() + known.size() + script.size() > kLongestResult) return result.append(line).append(script);
    takeAssignment(known, variables);
    result += known;
  }
  return result;
}

}  // namespace quillard::proc
