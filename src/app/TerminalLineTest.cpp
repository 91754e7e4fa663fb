#include <gtest/gtest.h>

#include "app/TerminalLine.h"

namespace quillard::app {
namespace {

TEST(TerminalLine, AgreesByYesAlone) {
  for (const char* const line : {"y", "Y", "yes", " YES "}) EXPECT_TRUE(isYes(line)) << line;
  for (const char* const line : {"", "n", "no", "yy", "1", "yes please"}) EXPECT_FALSE(isYes(line)) << line;
}

}  // namespace
}  // namespace quillard::app
