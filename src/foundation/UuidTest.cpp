#include <unordered_set>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/Uuid.h"

namespace quillard {
namespace {

TEST(Uuid, IsWrittenInCanonicalUpperCaseAndReadInEitherCase) {
  const auto uuid = Uuid::parse("e621e1f8-C36C-495a-93FC-0c247a3e6e5f");
  ASSERT_TRUE(uuid.has_value());
  EXPECT_EQ(uuid->text(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
}

TEST(Uuid, RefusesEverythingButTheHyphenatedForm) {
  for (const auto* text : {"", "E621E1F8", "E621E1F8C36C495A93FC0C247A3E6E5F", "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}",
                           "E621E1F8-C36C-495A-93FC-0C247A3E6E5G", "E621E1F8-C36C-495A-93FC-0C247A3E6E5F ",
                           "E621E1F8-C36C-495A-93FC00C247A3E6E5F", "E621E1F-8C36C-495A-93FC-0C247A3E6E5F",
                           "+621E1F8-C36C-495A-93FC-0C247A3E6E5F"}) {
    EXPECT_FALSE(Uuid::parse(text).has_value()) << text;
  }
}

TEST(Uuid, RandomOnesCarryVersionAndVariant) {
  const auto uuid = Uuid::fromRandomBytes({0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9});
  EXPECT_EQ(uuid.text()[14], '4');
  EXPECT_NE(std::string("89AB").find(uuid.text()[19]), std::string::npos);
  EXPECT_NE(uuid, Uuid::fromRandomBytes({0xF1}));
}

RC_GTEST_PROP(Uuid, ReadsBackWhatItWrites, (const std::array<std::uint8_t, 16>& bytes)) {
  const Uuid uuid{bytes};
  RC_ASSERT(Uuid::parse(uuid.text()) == uuid);
}

TEST(Uuid, HashesByValue) {
  std::unordered_set<Uuid> set;
  set.insert(Uuid{});
  set.insert(Uuid{});
  EXPECT_EQ(set.size(), 1U);
}

}  // namespace
}  // namespace quillard
