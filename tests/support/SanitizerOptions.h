#pragma once

#include <cstdlib>
#include <string>
#include <vector>

namespace quillard::test {

// What the sanitizers were told to pass over in libraries, as variables for programs with an environment of their own.
[[nodiscard]] inline std::vector<std::string> sanitizerOptions() {
  std::vector<std::string> variables;
  for (const char* const name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (const char* const value = std::getenv(name)) variables.push_back(std::string(name) + "=" + value);
  }
  return variables;
}

}  // namespace quillard::test
