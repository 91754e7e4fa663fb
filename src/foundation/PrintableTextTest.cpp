#include <gtest/gtest.h>

#include "foundation/PrintableText.h"

namespace quillard {
namespace {

TEST(PrintableText, KeepsWhatPeopleCanRead) {
  EXPECT_EQ(printableText("Verbindung abgelehnt: \xC3\xBC \xE2\x82\xAC 1"),
            "Verbindung abgelehnt: \xC3\xBC \xE2\x82\xAC 1");
  EXPECT_EQ(printableText(""), "");
}

TEST(PrintableText, HidesWhatCouldForgeALineOrTurnItsDirection) {
  EXPECT_EQ(printableText("a\nUnable\r\x1B[2J\x7F"), "a?Unable??[2J?");
  EXPECT_EQ(printableText("a\xE2\x80\xAE"
                          "b\xE2\x80\xA8"
                          "c"),
            "a?b?c");
  EXPECT_EQ(printableText("\xFF\xC3 "), "?? ");
}

TEST(PrintableText, CutsLongTextsBetweenCharacters) {
  EXPECT_EQ(printableText("abcdef", 6), "abcdef");
  EXPECT_EQ(printableText("abcdef", 5), "abcde...");
  EXPECT_EQ(printableText("\xC3\xA4\xC3\xA4", 3), "\xC3\xA4...");
  EXPECT_EQ(printableText(std::string(1'000'000, 'x')).size(), 203U);
}

}  // namespace
}  // namespace quillard
