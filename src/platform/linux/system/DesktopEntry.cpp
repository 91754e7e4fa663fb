#include "platform/linux/system/DesktopEntry.h"

namespace quillard::desktop::DesktopEntry {
namespace {

// What stands for what in a value, after a backslash.
constexpr std::string_view kLetters = "sntr\\";
constexpr std::string_view kMeanings = " \n\t\r\\";
constexpr std::string_view kBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes the first line off `text`.
std::string_view takeLine(std::string_view& text) {
  const auto end = text.find('\n');
  const auto line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return trimmed(line);
}

bool isEscapedInQuotes(char character) {
  return character == '"' || character == '`' || character == '$' || character == '\\';
}

// The first argument of a command line. Absent when it has none, or a quote is not closed.
std::optional<std::string> firstArgument(std::string_view line) {
  line = trimmed(line);
  if (line.empty()) return std::nullopt;
  if (line.front() != '"') return std::string(line.substr(0, line.find_first_of(kBlanks)));
  std::string argument;
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i] == '"') return argument;
    if (line[i] == '\\' && i + 1 < line.size() && isEscapedInQuotes(line[i + 1])) ++i;
    argument += line[i];
  }
  return std::nullopt;
}

}  // namespace

Values mainGroup(std::string_view text) {
  Values values;
  bool isInside = false;
  while (!text.empty()) {
    const auto line = takeLine(text);
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '[') {
      isInside = line == "[Desktop Entry]";
      continue;
    }
    const auto equals = line.find('=');
    if (!isInside || equals == std::string_view::npos) continue;
    values.insert_or_assign(std::string(trimmed(line.substr(0, equals))),
                            std::string(trimmed(line.substr(equals + 1))));
  }
  return values;
}

std::string unescaped(std::string_view value) {
  std::string result;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto at = value[i] == '\\' && i + 1 < value.size() ? kLetters.find(value[i + 1]) : std::string_view::npos;
    result += at == std::string_view::npos ? value[i] : kMeanings[at];
    if (at != std::string_view::npos) ++i;
  }
  return result;
}

std::string escaped(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    // A blank is itself but at either end, which readers take off.
    const bool isInside = i > 0 && i + 1 < text.size();
    const auto at = text[i] == ' ' && isInside ? std::string_view::npos : kMeanings.find(text[i]);
    if (at == std::string_view::npos) {
      result += text[i];
    } else {
      result.append(1, '\\').append(1, kLetters[at]);
    }
  }
  return result;
}

std::string execValue(std::string_view program) {
  std::string result = "\"";
  for (const char character : program) {
    // Each backslash twice, once for either reader.
    switch (character) {
      case '"':
      case '`':
      case '$':
        result.append("\\\\").append(1, character);
        break;
      case '\\':
        result += "\\\\\\\\";
        break;
      case '%':
        result += "%%";
        break;
      case '\n':
        result += "\\n";
        break;
      case '\t':
        result += "\\t";
        break;
      case '\r':
        result += "\\r";
        break;
      default:
        result += character;
    }
  }
  return result + "\"";
}

std::optional<std::string> programOf(std::string_view execValue) {
  const auto argument = firstArgument(unescaped(execValue));
  if (!argument || argument->empty()) return std::nullopt;
  std::string program;
  for (std::size_t i = 0; i < argument->size(); ++i) {
    if ((*argument)[i] == '%') {
      if (i + 1 >= argument->size() || (*argument)[i + 1] != '%') return std::nullopt;  // A field, not a program.
      ++i;
    }
    program += (*argument)[i];
  }
  return program;
}

}  // namespace quillard::desktop::DesktopEntry
