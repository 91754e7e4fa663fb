#include "contract/process/RandomContract.h"

#include <algorithm>
#include <array>
#include <set>
#include <vector>

namespace quillard::test {
namespace {

void expectDistinctIdentities(platform::Random& random) {
  std::set<std::array<std::uint8_t, 16>> identities;
  for (int i = 0; i < 1000; ++i) identities.insert(random.identityBytes());
  EXPECT_EQ(identities.size(), 1000U);
  // No byte is the same in all of them.
  for (std::size_t at = 0; at < 16; ++at) {
    std::set<std::uint8_t> values;
    for (const auto& identity : identities) values.insert(identity[at]);
    EXPECT_GT(values.size(), 100U) << "byte " << at;
  }
}

}  // namespace

TEST_P(RandomContract, FillsEveryByte) {
  // A byte that stays zero in 64 fillings (one chance in 2^512) is not filled.
  std::vector<std::uint8_t> filled(1000, 0);
  for (int i = 0; i < 64; ++i) {
    std::vector<std::uint8_t> bytes(filled.size(), 0);
    ASSERT_TRUE(random->fillSecurely(bytes));
    for (std::size_t at = 0; at < filled.size(); ++at) filled[at] |= bytes[at];
  }
  EXPECT_EQ(std::count(filled.begin(), filled.end(), 0), 0);
}

TEST_P(RandomContract, FillsNothingWhenAskedForNothing) { EXPECT_TRUE(random->fillSecurely({})); }

TEST_P(RandomContract, NeverRepeatsAnIdentity) { expectDistinctIdentities(*random); }

TEST_P(RandomContract, LeavesNothingUsableWhenTheGeneratorFails) {
  const auto failing = GetParam().makeFailing();
  std::array<std::uint8_t, 8> bytes{1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_FALSE(failing->fillSecurely(bytes));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{}));
}

TEST_P(RandomContract, HasIdentitiesEvenWhenTheGeneratorFails) {
  const auto failing = GetParam().makeFailing();
  expectDistinctIdentities(*failing);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RandomContract);

}  // namespace quillard::test
