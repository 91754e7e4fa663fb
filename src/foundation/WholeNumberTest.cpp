#include <string>

#include <gtest/gtest.h>

#include "foundation/WholeNumber.h"

namespace quillard {
namespace {

TEST(WholeNumber, IsWhatItsDigitsWrite) {
  EXPECT_EQ(wholeNumber("0"), 0U);
  EXPECT_EQ(wholeNumber("007"), 7U);
  EXPECT_EQ(wholeNumber("18446744073709551615"), 18446744073709551615U);
}

TEST(WholeNumber, IsNothingElse) {
  for (const std::string text : {"", " 1", "1 ", "+1", "-1", "1.0", "0x1", "one", "1a", "18446744073709551616",
                                 "99999999999999999999", "184467440737095516150"}) {
    EXPECT_EQ(wholeNumber(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace quillard
