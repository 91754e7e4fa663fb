#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/system/SystemRandom.h"

namespace quillard::desktop {
namespace {

TEST(SystemRandom, FillsEveryByte) {
  SystemRandom random;
  // A byte that stayed zero in 64 fillings (one chance in 2^512) was not filled.
  std::vector<std::uint8_t> seen(1000, 0);
  for (int i = 0; i < 64; ++i) {
    std::vector<std::uint8_t> bytes(seen.size(), 0);
    ASSERT_TRUE(random.fillSecurely(bytes));
    for (std::size_t at = 0; at < seen.size(); ++at) seen[at] |= bytes[at];
  }
  EXPECT_EQ(std::count(seen.begin(), seen.end(), 0), 0);
}

TEST(SystemRandom, FillsNothingWhenNothingIsAsked) {
  SystemRandom random;
  EXPECT_TRUE(random.fillSecurely({}));
}

TEST(SystemRandom, NeverRepeatsItself) {
  SystemRandom random;
  std::set<std::array<std::uint8_t, 16>> identities;
  for (int i = 0; i < 1000; ++i) identities.insert(random.identityBytes());
  EXPECT_EQ(identities.size(), 1000U);
}

// A generator that gives half of what it was asked for.
bool failHalfway(std::span<std::uint8_t> bytes) {
  std::fill(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), std::uint8_t{7});
  return false;
}

TEST(SystemRandom, LeavesNothingUsableWhenTheGeneratorFails) {
  SystemRandom random(failHalfway);
  std::array<std::uint8_t, 8> bytes{1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_FALSE(random.fillSecurely(bytes));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{}));
}

TEST(SystemRandom, HasIdentitiesOfItsOwnEvenThen) {
  SystemRandom random(failHalfway);
  std::set<std::array<std::uint8_t, 16>> identities;
  for (int i = 0; i < 1000; ++i) identities.insert(random.identityBytes());
  EXPECT_EQ(identities.size(), 1000U);
  // Not the half that the generator gave: nothing of it is the same in all of them.
  for (std::size_t at = 0; at < 16; ++at) {
    std::set<std::uint8_t> values;
    for (const auto& identity : identities) values.insert(identity[at]);
    EXPECT_GT(values.size(), 100U) << "byte " << at;
  }
}

}  // namespace
}  // namespace quillard::desktop
