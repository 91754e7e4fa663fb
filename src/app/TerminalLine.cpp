#include "app/TerminalLine.h"

#include <cerrno>

#include <unistd.h>

#include "foundation/Text.h"

namespace quillard::app {

std::optional<std::string> readInputLine(std::size_t longest) {
  std::string line;
  for (char character = 0; line.size() < longest;) {
    const auto length = ::read(STDIN_FILENO, &character, 1);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return std::nullopt;
    if (length == 0 || character == '\n') break;
    line += character;
  }
  return line;
}

bool isYes(std::string_view line) {
  const auto answer = text::lowercased(text::trimmed(line));
  return answer == "y" || answer == "yes";
}

std::optional<bool> agreesAtTerminal(const std::string& question, const Output& output) {
  constexpr std::size_t kLongestAnswer = 64;
  if (::isatty(STDIN_FILENO) != 1 || ::isatty(STDERR_FILENO) != 1) return std::nullopt;
  output.printError(question + " [y/N] ");
  return isYes(readInputLine(kLongestAnswer).value_or(""));
}

}  // namespace quillard::app
