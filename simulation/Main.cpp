#include <cstdio>
#include <string>
#include <vector>

#include "simulation/CommandLine.h"

int main(int count, char** arguments) {
  const std::vector<std::string> given(arguments + 1, arguments + count);
  return quillard::simulation::run(
      given, [](const std::string& line) { std::printf("%s\n", line.c_str()); },
      [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); });
}
