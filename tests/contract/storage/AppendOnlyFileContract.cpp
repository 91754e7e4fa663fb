#include "contract/storage/AppendOnlyFileContract.h"

namespace quillard::test {

using platform::FileCode;

TEST_P(AppendOnlyFileContract, SaysThatItIsNotThere) {
  const auto reading = file().read();
  EXPECT_EQ(reading.status.code, FileCode::absent);
  EXPECT_NE(reading.status.text, "");
  EXPECT_EQ(reading.bytes, "");
}

TEST_P(AppendOnlyFileContract, KeepsWhatIsAppendedByteForByte) {
  const std::string odd("a\0\xFF\r\n", 5);
  EXPECT_EQ(append("one\n", 0), FileCode::success);
  EXPECT_EQ(append(odd, 4), FileCode::success);
  EXPECT_EQ(contents(), "one\n" + odd);
}

TEST_P(AppendOnlyFileContract, IsNeverBegunAnewWhereItHasGone) {
  ASSERT_EQ(append("one\n", 0), FileCode::success);
  binding->meddle(std::nullopt);
  EXPECT_EQ(append("two\n", 4), FileCode::changed);
  EXPECT_EQ(contents(), std::nullopt);
}

TEST_P(AppendOnlyFileContract, NoticesThatSomebodyCutItOrWroteToIt) {
  ASSERT_EQ(append("one\ntwo\n", 0), FileCode::success);
  binding->meddle("one\n");
  EXPECT_EQ(append("three\n", 8), FileCode::changed);
  binding->meddle("one\ntwo\nsix\n");
  EXPECT_EQ(append("three\n", 8), FileCode::changed);
  EXPECT_EQ(append("three\n", 0), FileCode::changed) << "There is one already.";
  EXPECT_EQ(contents(), "one\ntwo\nsix\n");
}

TEST_P(AppendOnlyFileContract, IsReplacedAsAWhole) {
  EXPECT_EQ(file().replace("first\n").code, FileCode::success) << "It makes the file.";
  EXPECT_EQ(append("second\n", 6), FileCode::success);
  EXPECT_EQ(file().replace("third\n").code, FileCode::success);
  EXPECT_EQ(contents(), "third\n");
  EXPECT_EQ(append("fourth\n", 6), FileCode::success);
}

TEST_P(AppendOnlyFileContract, KeepsWhatIsPutAsideUnderANameOfItsOwn) {
  EXPECT_EQ(file().putAside(), std::nullopt) << "There is none yet.";
  ASSERT_EQ(append("bad\n", 0), FileCode::success);
  const auto first = file().putAside();
  ASSERT_TRUE(first);
  EXPECT_EQ(contents(), std::nullopt);
  ASSERT_EQ(append("worse\n", 0), FileCode::success);
  const auto second = file().putAside();
  ASSERT_TRUE(second);
  EXPECT_NE(*first, *second);
  EXPECT_EQ(binding->aside(*first), "bad\n");
  EXPECT_EQ(binding->aside(*second), "worse\n");
}

TEST_P(AppendOnlyFileContract, LeavesItAsItIsWhereItCannotWrite) {
  ASSERT_EQ(append("one\n", 0), FileCode::success);
  binding->forbidWriting();
  const auto appended = file().append("two and more\n", 4);
  EXPECT_NE(appended.code, FileCode::success);
  EXPECT_NE(appended.text, "");
  EXPECT_NE(file().replace("three and more\n").code, FileCode::success);
  EXPECT_EQ(contents(), "one\n");
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(AppendOnlyFileContract);

}  // namespace quillard::test
