#include "contract/shell/ReadableStartsContract.h"

#include <optional>
#include <vector>

namespace quillard::test {

using platform::ReadableStart;
using Starts = std::vector<ReadableStart>;

TEST_P(ReadableStartsContract, ChangesNothingUnasked) {
  binding->addEntry("chat", "Chat");
  EXPECT_EQ(starts.changed(), Starts{});
  EXPECT_FALSE(binding->isReadable("chat"));
  EXPECT_EQ(starts.undo("chat"), std::nullopt);
}

TEST_P(ReadableStartsContract, ChangesAStartAndUndoesThat) {
  binding->addEntry("chat", "Chat");
  binding->addEntry("browser", "A Browser");
  EXPECT_EQ(starts.change("chat"), std::nullopt);
  EXPECT_EQ(starts.change("chat"), std::nullopt) << "once is enough";
  EXPECT_TRUE(binding->isReadable("chat"));
  EXPECT_FALSE(binding->isReadable("browser"));
  EXPECT_EQ(starts.change("browser"), std::nullopt);
  EXPECT_EQ(starts.changed(), (Starts{{"browser", "A Browser"}, {"chat", "Chat"}})) << "by name";

  EXPECT_EQ(starts.undo("chat"), std::nullopt);
  EXPECT_FALSE(binding->isReadable("chat"));
  EXPECT_EQ(starts.changed(), (Starts{{"browser", "A Browser"}}));
  EXPECT_EQ(starts.change("chat"), std::nullopt);
  EXPECT_TRUE(binding->isReadable("chat")) << "again";
}

TEST_P(ReadableStartsContract, SaysWhyAStartCannotBeChanged) {
  EXPECT_NE(starts.change("nothing").value_or(""), "");
  EXPECT_EQ(starts.changed(), Starts{});
}

TEST_P(ReadableStartsContract, LeavesAnEntryOfTheUsersOwnAsItIs) {
  binding->addEntry("chat", "Chat");
  binding->replaceByUser("chat");
  EXPECT_NE(starts.change("chat").value_or(""), "");
  EXPECT_FALSE(binding->isReadable("chat"));
  EXPECT_EQ(starts.changed(), Starts{});
}

TEST_P(ReadableStartsContract, LeavesWhatTheUserHasChangedSinceAsItIs) {
  binding->addEntry("chat", "Chat");
  EXPECT_EQ(starts.change("chat"), std::nullopt);
  binding->editByUser("chat");
  EXPECT_NE(starts.undo("chat").value_or(""), "");
  EXPECT_EQ(starts.changed(), (Starts{{"chat", "Chat"}}));
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReadableStartsContract);

}  // namespace quillard::test
