#include <set>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "detection/PromptCandidateGate.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using Ids = std::unordered_set<Uuid>;
using samples::uuid;

TEST(PromptCandidateGate, OpensAtTheSecondScanInARowAndStaysOpen) {
  PromptCandidateGate gate;
  EXPECT_EQ(gate.publishableIDs({uuid(1)}), Ids{});
  EXPECT_EQ(gate.publishableIDs({uuid(1)}), Ids{uuid(1)});
  EXPECT_EQ(gate.publishableIDs({uuid(1)}), Ids{uuid(1)});
}

TEST(PromptCandidateGate, StartsAgainForAPromptThatMissedAScan) {
  PromptCandidateGate gate;
  (void)gate.publishableIDs({uuid(1)});
  EXPECT_EQ(gate.publishableIDs({uuid(1)}), Ids{uuid(1)});
  EXPECT_EQ(gate.publishableIDs({}), Ids{});
  EXPECT_EQ(gate.publishableIDs({uuid(1)}), Ids{});
  EXPECT_EQ(gate.publishableIDs({uuid(1)}), Ids{uuid(1)});
}

TEST(PromptCandidateGate, LetsEachCandidateThroughByItself) {
  PromptCandidateGate gate;
  (void)gate.publishableIDs({uuid(1)});
  EXPECT_EQ(gate.publishableIDs({uuid(1), uuid(2)}), Ids{uuid(1)});
  EXPECT_EQ(gate.publishableIDs({uuid(2)}), Ids{uuid(2)});
}

// In plain words: publishable is what this scan and the one before have both met.
RC_GTEST_PROP(PromptCandidateGate, PublishesWhatThisScanAndTheLastHaveBothSeen,
              (const std::vector<std::set<std::uint8_t>>& scans)) {
  PromptCandidateGate gate;
  std::set<std::uint8_t> previous;
  for (const auto& scan : scans) {
    Ids ids;
    Ids expected;
    for (const auto number : scan) {
      ids.insert(uuid(number));
      if (previous.contains(number)) expected.insert(uuid(number));
    }
    RC_ASSERT(gate.publishableIDs(ids) == expected);
    previous = scan;
  }
}

TEST(PromptCandidateGate, APromptThatCouldNotBeReadKeepsItsPlace) {
  PromptCandidateGate gate;
  EXPECT_TRUE(gate.publishableIDs({samples::uuid(1)}).empty());
  EXPECT_TRUE(gate.publishableIDs({}, {samples::uuid(1)}).empty());
  EXPECT_EQ(gate.publishableIDs({samples::uuid(1)}).size(), 1U);
  EXPECT_TRUE(gate.publishableIDs({}).empty());
  EXPECT_TRUE(gate.publishableIDs({samples::uuid(1)}).empty()) << "it was missing";
}

}  // namespace
}  // namespace quillard
