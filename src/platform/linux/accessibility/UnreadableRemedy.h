#pragma once

#include <string>
#include <string_view>

namespace quillard::atspi {

// What a person can do so that a program can be read whose windows hold nothing for accessibility: one sentence, by the
// libraries and files that it has mapped (/proc/PID/maps). Empty: nothing is known to help. `isOnBus`: it takes part in
// accessibility, and tells nothing there.
[[nodiscard]] std::string remedyFor(std::string_view maps, bool isOnBus);

// Whether that is the switch at the start (`ReadableEntry`).
[[nodiscard]] bool isSwitchAtStart(std::string_view remedy);

}  // namespace quillard::atspi
