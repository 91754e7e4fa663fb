#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace quillard::test {

// How many rounds a test with a long loop or history makes: `inShort` by default, `inLong` under QUILLARD_LONG_TESTS=1,
// which `./test --long` sets. Both check the same; more rounds find what is rare. Printed, so that a log shows which.
[[nodiscard]] inline int rounds(int inShort, int inLong) {
  const char* const requested = std::getenv("QUILLARD_LONG_TESTS");
  const bool isLong = requested && std::string_view(requested) == "1";
  const int count = isLong ? inLong : inShort;
  std::printf("%d rounds (%d under QUILLARD_LONG_TESTS=1)\n", count, inLong);
  return count;
}

}  // namespace quillard::test
