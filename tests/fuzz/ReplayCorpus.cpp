#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/FuzzTarget.h"

// Runs a fuzz target once over every file of the folder that it is given, where libFuzzer is not at hand.
namespace {

std::vector<std::filesystem::path> filesOf(const char* folder) {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const std::filesystem::path& path) {
  std::printf("%s\n", path.filename().c_str());
  std::fflush(stdout);  // Names the input, should the target stop the process.
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  return file && LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) == 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "Usage: %s corpus-folder\n", arguments[0]);
    return 2;
  }
  const auto files = filesOf(arguments[1]);
  if (files.empty()) std::fprintf(stderr, "The corpus is empty: %s\n", arguments[1]);
  return !files.empty() && std::all_of(files.begin(), files.end(), replay) ? 0 : 1;
}
