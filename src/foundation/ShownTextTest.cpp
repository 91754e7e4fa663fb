#include <string>

#include <gtest/gtest.h>

#include "foundation/ShownText.h"

namespace quillard::text {
namespace {

TEST(WithoutMnemonicTail, DropsWhatProgramsWriteBehindEastAsianLabels) {
  EXPECT_EQ(withoutMnemonicTail("保存(S)"), "保存");
  EXPECT_EQ(withoutMnemonicTail("キャンセル(_C)"), "キャンセル");
  EXPECT_EQ(withoutMnemonicTail("取消(&C)"), "取消");
  EXPECT_EQ(withoutMnemonicTail("取消（C）"), "取消");
  EXPECT_EQ(withoutMnemonicTail("打开 (O)..."), "打开...");
  EXPECT_EQ(withoutMnemonicTail("保存(S)…"), "保存…");
}

TEST(WithoutMnemonicTail, DropsItInTextsBesideFields) {
  EXPECT_EQ(withoutMnemonicTail("パスワード(P):"), "パスワード:");
  EXPECT_EQ(withoutMnemonicTail("密码(P)："), "密码：");
}

TEST(WithoutMnemonicTail, LeavesWhatIsNoTail) {
  for (const std::string text :
       {"Option (A)", "Speichern", "(S)", "保存(SP)", "保存(版)", "保存()", "保存S)", ")", ""}) {
    EXPECT_EQ(withoutMnemonicTail(text), text);
  }
}

TEST(WithoutDirectionMarks, DropsTheInvisibleCharactersOnly) {
  EXPECT_EQ(withoutDirectionMarks("\u200F\u0625\u0644\u063A\u0627\u0621"), "\u0625\u0644\u063A\u0627\u0621");
  EXPECT_EQ(withoutDirectionMarks("\u202Aa.example\u202C \u2068b\u2069\uFEFF"), "a.example b");
  EXPECT_EQ(withoutDirectionMarks("„So“ — geht’s…"), "„So“ — geht’s…");
}

TEST(WithoutDirectionMarks, KeepsBytesThatAreNoText) {
  const std::string broken = "\xE2\x80";
  EXPECT_EQ(withoutDirectionMarks(broken), broken);
  EXPECT_EQ(withoutDirectionMarks(broken + "\xE2\x80\x8F"), broken);
}

TEST(WithoutMarks, DropsBoth) { EXPECT_EQ(withoutMarks("\u200E取消(C)\u200F"), "取消"); }

}  // namespace
}  // namespace quillard::text
