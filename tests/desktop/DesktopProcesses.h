#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include "private-desktop/FileContents.h"

namespace quillard::test {

// Command lines of the processes with `text` in their environment or on their command line, this one aside: what
// belongs to a private desktop names its folder.
inline std::vector<std::string> processesWith(const std::string& text) {
  using privatedesktop::fileContents;
  std::vector<std::string> result;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string pid = entry.path().filename();
    if (pid.find_first_not_of("0123456789") != std::string::npos || pid == std::to_string(::getpid())) continue;
    const std::string commandLine = fileContents(entry.path() / "cmdline");
    if (commandLine.find(text) != std::string::npos ||
        fileContents(entry.path() / "environ").find(text) != std::string::npos) {
      result.push_back(commandLine);
    }
  }
  return result;
}

}  // namespace quillard::test
