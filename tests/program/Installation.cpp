#include "program/Installation.h"

#include <cstdlib>
#include <stdexcept>

namespace quillard::test {

void installProgram(const std::string& prefix) {
  const std::string command = std::string("\"") + CMAKE_PROGRAM + "\" --install \"" + BUILD_FOLDER +
                              "\" --component quillard --prefix \"" + prefix + "\" >\"" + prefix + ".log\" 2>&1";
  // NOLINTNEXTLINE(cert-env33-c): a command of the test's own.
  if (std::system(command.c_str()) != 0)
    throw std::runtime_error("The program cannot be installed: " + prefix + ".log");
}

}  // namespace quillard::test
