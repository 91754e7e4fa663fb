#include "platform/linux/processes/Interpreters.h"

#include <algorithm>
#include <array>

namespace quillard::proc {

std::string baseName(std::string_view path) {
  const auto slash = path.rfind('/');
  return std::string{slash == std::string_view::npos ? path : path.substr(slash + 1)};
}

bool isInterpreter(std::string_view name) {
  static constexpr std::array<std::string_view, 16> kNames{"python", "pypy", "perl", "ruby",       "node", "nodejs",
                                                           "bash",   "sh",   "dash", "zsh",        "ksh",  "fish",
                                                           "gjs",    "lua",  "php",  "gjs-console"};
  // Versions do not count: python3.11, lua5.4.
  const auto end = name.find_last_not_of("0123456789.");
  const auto plain = name.substr(0, end == std::string_view::npos ? 0 : end + 1);
  return std::find(kNames.begin(), kNames.end(), plain) != kNames.end();
}

std::optional<std::string> scriptOf(const std::vector<std::string>& words) {
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word == "-m" || word == "--") {
      if (i + 1 < words.size()) return words[i + 1];
      return std::nullopt;
    }
    if (word == "-c" || word == "-e" || word == "-") return std::nullopt;  // The script is in the words, or typed.
    if (word == "-W" || word == "-X") {
      ++i;  // Python's options with a value of their own.
    } else if (!word.empty() && !word.starts_with('-')) {
      return word;
    }
  }
  return std::nullopt;
}

}  // namespace quillard::proc
