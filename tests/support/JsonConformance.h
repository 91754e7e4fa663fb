#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace quillard::test {

// One value, and whether it is JSON.
struct JsonCase {
  bool isJson = false;
  std::string text;
  std::string about;
};

// tests/golden/json/conformance.txt, which the phone's page reads as well.
inline std::vector<JsonCase> jsonConformance(const std::string& goldenFolder) {
  std::ifstream file(goldenFolder + "/json/conformance.txt");
  std::vector<JsonCase> cases;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream parts(line);
    std::string verdict;
    std::string digits;
    JsonCase read;
    parts >> verdict >> digits;
    std::getline(parts, read.about);
    read.isJson = verdict == "accept";
    for (std::size_t i = 0; digits != "-" && i + 1 < digits.size(); i += 2) {
      read.text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    cases.push_back(std::move(read));
  }
  return cases;
}

}  // namespace quillard::test
