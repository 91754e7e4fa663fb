#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "detection/StableIDs.h"
#include "platform/simulated/SimulatedRandom.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;

class FixedKey final : public platform::Random {
 public:
  bool fillSecurely(std::span<std::uint8_t>) override { return false; }
  std::array<std::uint8_t, 16> identityBytes() override {
    std::array<std::uint8_t, 16> key{};
    for (std::size_t i = 0; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(i);
    return key;
  }
};

// The published test vectors of SipHash-2-4: the key 00 01 ... 0F, the text 00 01 ... of the given length. The second
// half of an identity is the hash as the vectors write it, the first half is the same backwards.
TEST(StableID, IsTheKeyedHashTwiceOnceWithItsBytesReversed) {
  FixedKey random;
  const StableIDs ids{random};
  EXPECT_EQ(ids.stableID("").text(), "726FDB47-DD0E-0E31-310E-0EDD47DB6F72");
  EXPECT_EQ(ids.stableID(std::string(1, '\0')).text(), "74F839C5-93DC-67FD-FD67-DC93C539F874");
  std::string fifteen;
  for (char c = 0; c < 15; ++c) fifteen += c;
  EXPECT_EQ(ids.stableID(fifteen).text(), "A129CA61-49BE-45E5-E545-BE4961CA29A1");
}

TEST(StableID, DiffersFromRunToRun) {
  SimulatedRandom oneRun{Seed{1}};
  SimulatedRandom another{Seed{2}};
  EXPECT_NE(StableIDs(oneRun).stableID("prompt"), StableIDs(another).stableID("prompt"));
}

RC_GTEST_PROP(StableID, IsTheSameForTheSameTextOnly, (const std::string& a, const std::string& b)) {
  SimulatedRandom random{Seed{1}};
  const StableIDs ids{random};
  RC_ASSERT((ids.stableID(a) == ids.stableID(b)) == (a == b));
}

}  // namespace
}  // namespace quillard
