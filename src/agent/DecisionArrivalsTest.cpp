#include <cstddef>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/DecisionArrivals.h"

namespace quillard {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

ApprovalRequestEnvelope arriving(const std::string& decisionID, int pairing) {
  ApprovalRequestEnvelope decision;
  decision.decisionID = decisionID;
  decision.pairing = pairing;
  return decision;
}

TEST(DecisionArrivals, RememberWhoWasThere) {
  DecisionArrivals arrivals;
  arrivals.note(arriving("1", 1), {"ann", "ben"});
  arrivals.note(arriving("1", 2), {"eve"});
  EXPECT_THAT(arrivals.presentAt(arriving("1", 1)), ElementsAre("ann", "ben"));
  EXPECT_THAT(arrivals.presentAt(arriving("1", 2)), ElementsAre("eve")) << "Another pairing's names are its own.";
  EXPECT_THAT(arrivals.presentAt(arriving("2", 1)), IsEmpty());
}

TEST(DecisionArrivals, GoByTheFirstTimeThatADecisionCame) {
  DecisionArrivals arrivals;
  arrivals.note(arriving("1", 1), {"ann"});
  arrivals.note(arriving("1", 1), {"ben"});
  EXPECT_THAT(arrivals.presentAt(arriving("1", 1)), ElementsAre("ann"));
}

TEST(DecisionArrivals, ForgetTheOldest) {
  DecisionArrivals arrivals;
  arrivals.note(arriving("first", 1), {"ann"});
  for (std::size_t i = 1; i < DecisionArrivals::kMost; ++i) arrivals.note(arriving(std::to_string(i), 1), {"ben"});
  EXPECT_THAT(arrivals.presentAt(arriving("first", 1)), ElementsAre("ann"));
  arrivals.note(arriving("last", 1), {"ben"});
  EXPECT_THAT(arrivals.presentAt(arriving("first", 1)), IsEmpty());
  EXPECT_THAT(arrivals.presentAt(arriving("1", 1)), ElementsAre("ben"));
}

}  // namespace
}  // namespace quillard
