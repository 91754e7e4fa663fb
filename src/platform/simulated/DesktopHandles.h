#pragma once

#include <compare>
#include <cstdint>

namespace quillard::platform::simulated {

// Names an application of the desktop, also after it has ended.
struct ApplicationHandle {
  std::int32_t processIdentifier = 0;
  auto operator<=>(const ApplicationHandle&) const = default;
};

// Names one element (a window, a button, a text), also after it is gone. Never used again for another.
struct NodeHandle {
  std::uint64_t id = 0;
  auto operator<=>(const NodeHandle&) const = default;
};

}  // namespace quillard::platform::simulated
