#pragma once

#include <cstdint>

namespace quillard::platform::simulated {

// Decides everything that a simulated world leaves to chance. Equal seeds give equal worlds.
struct Seed {
  std::uint64_t value = 0;
};

}  // namespace quillard::platform::simulated
