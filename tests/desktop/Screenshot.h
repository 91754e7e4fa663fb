#pragma once

#include <chrono>
#include <string>

namespace quillard::test {

// Writes the whole screen of an X display of this computer (":7") as PNG. Throws when it cannot, also when the X server
// does not answer for as long as `timeout`.
void saveScreenshot(const std::string& display, const std::string& path,
                    std::chrono::milliseconds timeout = std::chrono::seconds{10});

}  // namespace quillard::test
