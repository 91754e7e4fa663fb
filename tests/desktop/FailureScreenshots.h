#pragma once

#include <string>

namespace quillard::test {

// Pictures of the desktops that are up while an expectation fails, one for each desktop and test, below the build
// folder.
class FailureScreenshots {
 public:
  static void add(const std::string& display);
  static void remove(const std::string& display);

  // How many were taken so far in this process.
  [[nodiscard]] static int count();
};

}  // namespace quillard::test
