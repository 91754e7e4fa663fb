#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace quillard::samples {

// Where the golden files are: tests/golden, or what QUILLARD_GOLDEN_FOLDER names in the environment.
inline std::filesystem::path goldenFolder() {
  const char* const folder = std::getenv("QUILLARD_GOLDEN_FOLDER");
  return folder ? folder : QUILLARD_GOLDEN_DIRECTORY;
}

// The text of tests/golden/`name`; empty when there is no such file. With QUILLARD_UPDATE_GOLDEN set in the environment
// the file is first written as `current`: run the tests so after a wanted change, and read the difference.
inline std::string goldenText(const std::string& name, const std::string& current) {
  const std::filesystem::path path = goldenFolder() / name;
  if (std::getenv("QUILLARD_UPDATE_GOLDEN")) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream{path, std::ios::binary} << current;
  }
  std::ifstream file{path, std::ios::binary};
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace quillard::samples
