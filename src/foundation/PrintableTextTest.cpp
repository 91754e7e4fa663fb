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

// A woman at a computer, a flag of England, a name in Persian: each needs characters that have no shape.
TEST(PrintableName, KeepsTheJoinersOfEmojisAndNames) {
  for (const std::string name : {"Ann \U0001F469\u200D\U0001F4BB", "\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E007F",
                                 "\u0639\u0644\u06CC\u200C\u0631\u0636\u0627"}) {
    EXPECT_EQ(printableName(name), name);
    EXPECT_NE(printableText(name), name) << "A text of another program may not do so.";
  }
}

TEST(PrintableName, HidesWhatTurnsTheDirectionOrBreaksTheLine) {
  for (const std::string mark : {"\u061C", "\u200E", "\u200F", "\u202A", "\u202E", "\u2066", "\u2069", "\u2028",
                                 "\u2029", "\n", "\x1B", "\xFF"}) {
    EXPECT_EQ(printableName("a" + mark + "b"), "a?b");
  }
  EXPECT_EQ(printableName("abcdef", 5), "abcde...");
}

}  // namespace
}  // namespace quillard
