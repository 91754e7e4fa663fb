#include <gtest/gtest.h>

#include "relay/SnapshotOutbox.h"

namespace quillard {
namespace {

MacSnapshotRelayMessage snapshot(std::string signature) { return {.snapshotID = std::move(signature)}; }

TEST(SnapshotOutbox, HasNothingToSendAtFirst) {
  SnapshotOutbox outbox;
  EXPECT_FALSE(outbox.holds(""));
  EXPECT_FALSE(outbox.begin().has_value());
}

TEST(SnapshotOutbox, SendsASnapshotOnce) {
  SnapshotOutbox outbox;
  outbox.hold(snapshot("A"), "A");
  EXPECT_TRUE(outbox.holds("A"));
  const auto sending = outbox.begin();
  ASSERT_TRUE(sending.has_value());
  EXPECT_EQ(outbox.snapshot().snapshotID, "A");
  EXPECT_FALSE(outbox.begin().has_value()) << "It is under way.";
  outbox.end(*sending, true);
  EXPECT_FALSE(outbox.begin().has_value()) << "It is delivered.";
}

TEST(SnapshotOutbox, SendsAgainWhatFailedOrWasForgotten) {
  SnapshotOutbox outbox;
  outbox.hold(snapshot("A"), "A");
  outbox.end(*outbox.begin(), false);
  outbox.end(*outbox.begin(), true);
  outbox.forgetSent();
  EXPECT_TRUE(outbox.begin().has_value());
}

TEST(SnapshotOutbox, SendsTheNewestBesideAnOlderOneThatIsUnderWay) {
  SnapshotOutbox outbox;
  outbox.hold(snapshot("A"), "A");
  const auto first = outbox.begin();
  outbox.hold(snapshot("B"), "B");
  const auto second = outbox.begin();
  ASSERT_TRUE(second.has_value());
  EXPECT_EQ(second->signature, "B");
  outbox.end(*first, true);
  EXPECT_FALSE(outbox.begin().has_value()) << "B is still under way.";
  outbox.end(*second, false);
  EXPECT_TRUE(outbox.begin().has_value());
}

TEST(SnapshotOutbox, SendsADeliveredSnapshotAgainBehindAnotherThatIsUnderWay) {
  SnapshotOutbox outbox;
  outbox.hold(snapshot("A"), "A");
  outbox.end(*outbox.begin(), true);
  outbox.hold(snapshot("B"), "B");
  const auto other = outbox.begin();
  outbox.hold(snapshot("A"), "A");
  const auto again = outbox.begin();
  ASSERT_TRUE(again.has_value()) << "The phone would be left with B.";
  outbox.end(*other, true);
  outbox.end(*again, true);
  EXPECT_FALSE(outbox.begin().has_value());
}

TEST(SnapshotOutbox, IsNotMisledByNewsOfAnOlderSendingOfTheSameSnapshot) {
  SnapshotOutbox outbox;
  outbox.hold(snapshot("A"), "A");
  const auto older = outbox.begin();
  outbox.forgetSent();
  const auto newer = outbox.begin();
  outbox.end(*older, true);
  EXPECT_FALSE(outbox.begin().has_value());
  outbox.end(*newer, false);
  EXPECT_TRUE(outbox.begin().has_value());
}

}  // namespace
}  // namespace quillard
