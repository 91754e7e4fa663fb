#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

#include <sys/wait.h>

namespace quillard::test {

struct ShellOutcome {
  int code = -1;
  std::string output;  // What it said, on either of its outputs.
};

// Runs `command` with the shell, and waits for its end.
inline ShellOutcome shell(const std::string& command) {
  std::FILE* const pipe = ::popen(("{ " + command + "\n} 2>&1 </dev/null").c_str(), "r");
  if (!pipe) throw std::runtime_error("popen");
  ShellOutcome outcome;
  char bytes[4096];
  while (const auto count = std::fread(bytes, 1, sizeof bytes, pipe)) outcome.output.append(bytes, count);
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
  return outcome;
}

}  // namespace quillard::test
