#pragma once

#include <filesystem>
#include <fstream>
#include <ios>
#include <sstream>
#include <string>

namespace quillard::privatedesktop {

// Empty when the file cannot be read. Nor does it throw where an iterator over the stream would: a process whose file
// below /proc is open may go before it is read.
inline std::string fileContents(const std::filesystem::path& path) {
  const std::ifstream file(path, std::ios::binary);
  std::ostringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

}  // namespace quillard::privatedesktop
