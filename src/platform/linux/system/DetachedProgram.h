#pragma once

#include <string>
#include <vector>

namespace quillard::desktop {

// Starts a program that lives on by itself: no child of this process, without its standard streams, and no shell in
// between. `command`: the program, absolute or found by PATH, and its arguments. False when it cannot be started. Any
// thread.
bool startDetached(const std::vector<std::string>& command);

}  // namespace quillard::desktop
