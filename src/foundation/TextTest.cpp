#include <array>
#include <string_view>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/Text.h"

namespace quillard::text {
namespace {

TEST(Normalized, TrimsCollapsesWhiteSpaceAndLowersCase) {
  EXPECT_EQ(normalized("  Don't \n  Allow "), "don't allow");
  EXPECT_EQ(normalized("\t ALWAYS\r\n\v\f Allow"), "always allow");
  EXPECT_EQ(normalized(" \n\t "), "");
  EXPECT_EQ(normalized(""), "");
}

TEST(Normalized, KnowsTheWhiteSpaceOfUnicode) {
  for (const auto* space :
       {"\u0085", "\u00A0", "\u1680", "\u2000", "\u2003", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
    EXPECT_EQ(normalized(std::string(space) + "a" + space + space + "b" + space), "a b") << space;
  }
}

TEST(Normalized, KeepsZeroWidthCharactersWhichAreNoWhiteSpace) {
  for (const auto* kept : {"\u200B", "\u200D", "\u2060", "\uFEFF", "\u180E"}) {
    EXPECT_EQ(normalized(std::string("a") + kept + "b"), std::string("a") + kept + "b");
  }
}

TEST(Normalized, LowersTheCaseOfEveryScript) {
  EXPECT_EQ(normalized("ÄPFEL ÉTÉ ΣΊΣΥΦΟΣ ЖУК"), "äpfel été σίσυφοσ жук");
}

TEST(Normalized, FoldsNothingElse) {
  EXPECT_EQ(normalized("Don’t Allow…"), "don’t allow…");
  EXPECT_EQ(normalized("Café"), "café");
}

TEST(Normalized, KeepsBytesThatAreNoText) {
  EXPECT_EQ(normalized(" A\xFF\xC3 "), "a\xFF\xC3");
  EXPECT_EQ(normalized("\xE3\x80"), "\xE3\x80");
}

TEST(Trimmed, TakesWhiteSpaceOffBothEndsOnly) {
  EXPECT_EQ(trimmed("\u3000 Save  changes?\u00A0\n"), "Save  changes?");
  EXPECT_EQ(trimmed("\u2003"), "");
  EXPECT_EQ(trimmed("\u00E0"), "\u00E0");  // Its last byte is that of a no-break space.
  EXPECT_EQ(trimmed("x\x80"), "x\x80");
}

TEST(ValidUtf8, TellsTextFromOtherBytes) {
  EXPECT_TRUE(isValidUtf8(""));
  EXPECT_TRUE(isValidUtf8("Don’t 🎉"));
  for (const auto* bytes : {"\x80", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "ok\xFF", "\xE2\x80"}) {
    EXPECT_FALSE(isValidUtf8(bytes));
  }
}

TEST(Joined, PutsTheSeparatorBetweenTheParts) {
  EXPECT_EQ(joined({}, "|"), "");
  EXPECT_EQ(joined({""}, "|"), "");
  EXPECT_EQ(joined({"", ""}, "|"), "|");
  EXPECT_EQ(joined({"Allow", "Deny"}, ", "), "Allow, Deny");
}

RC_GTEST_PROP(Normalized, IsDoneAfterOnce, (const std::string& bytes)) {
  const auto once = normalized(bytes);
  RC_ASSERT(normalized(once) == once);
}

RC_GTEST_PROP(Trimmed, AgreesWithNormalized, (const std::string& bytes)) {
  RC_ASSERT(normalized(trimmed(bytes)) == normalized(bytes));
  RC_ASSERT(trimmed(trimmed(bytes)) == trimmed(bytes));
}

TEST(ContainsAny, FindsOnePartAnywhereByteForByte) {
  constexpr std::array<std::string_view, 2> kParts{"key", "pass"};
  for (const auto* text : {"key", "a keychain", "passphrase", "bypass"}) EXPECT_TRUE(containsAny(text, kParts)) << text;
  for (const auto* text : {"", "Key", "pas", "ke y"}) EXPECT_FALSE(containsAny(text, kParts)) << text;
  EXPECT_FALSE(containsAny("key", {}));
}

}  // namespace
}  // namespace quillard::text
