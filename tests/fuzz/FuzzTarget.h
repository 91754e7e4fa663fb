#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// What every fuzz target defines: one run over one input. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quillard::fuzz {

[[nodiscard]] inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Stops the run when a promise is broken. `promise` says what should have been.
inline void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "Broken promise: %s\n", promise);
  std::abort();
}

}  // namespace quillard::fuzz
