#include <algorithm>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "recording/TextMask.h"

namespace quillard::recording {
namespace {

TEST(TextMask, HidesLettersAndDigitsAndKeepsTheShape) {
  EXPECT_EQ(maskedText("Move “Taxes 2025.pdf” to the Bin?"), "Xxxx “Xxxxx 0000.xxx” xx xxx Xxx?");
  EXPECT_EQ(maskedText("a\tb\n\xC2\xA0"
                       "c"),
            "x\tx\n\xC2\xA0x");
  EXPECT_EQ(maskedText(""), "");
}

TEST(TextMask, HidesTheLettersOfEveryScriptOneByOne) {
  EXPECT_EQ(maskedText("Ärger, Ключ, 秘密, سر ٣"), "Xxxxx, Xxxx, xx, xx 0");
  EXPECT_EQ(maskedText("e\xCC\x81"), "xx");  // A letter and its accent are two characters.
}

TEST(TextMask, HidesWhatSpellsTextInOtherWays) {
  EXPECT_EQ(maskedText("\xF0\x9F\x98\x80"), "x");                                 // A picture.
  EXPECT_EQ(maskedText("\xE2\x93\x90"), "x");                                     // A letter in a circle.
  EXPECT_EQ(maskedText("\xF3\xA0\x81\xA1"), "x");                                 // An invisible tag.
  EXPECT_EQ(maskedText("\xE2\x80\x8B\xE2\x80\xAE"), "\xE2\x80\x8B\xE2\x80\xAE");  // Zero width, right to left.
}

TEST(TextMask, HidesBytesThatAreNoText) { EXPECT_EQ(maskedText("M\xFCller \xFF"), "Xxxxxx x"); }

RC_GTEST_PROP(TextMask, LeavesNoOtherLetterOrDigit, (const std::string& text)) {
  for (const char c : maskedText(text)) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool isDigit = c >= '0' && c <= '9';
    RC_ASSERT((!isLetter && !isDigit) || c == 'x' || c == 'X' || c == '0');
  }
  RC_ASSERT(maskedText(maskedText(text)) == maskedText(text));
}

}  // namespace
}  // namespace quillard::recording
