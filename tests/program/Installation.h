#pragma once

#include <string>

namespace quillard::test {

// Installs the program below `prefix` as its users do, from this build. Throws when that fails.
void installProgram(const std::string& prefix);

}  // namespace quillard::test
