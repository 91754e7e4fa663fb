#pragma once

#include <string>

namespace quillard::test {

// Writes the whole screen of an X display (":7") as PNG. Throws when it cannot.
void saveScreenshot(const std::string& display, const std::string& path);

}  // namespace quillard::test
