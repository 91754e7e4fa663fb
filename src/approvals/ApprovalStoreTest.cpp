#include <limits>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "support/ApprovalStoreFixture.h"

namespace quillard {
namespace {

using samples::uuid;

using ApprovalStoreTest = test::ApprovalStoreFixture;

TEST_F(ApprovalStoreTest, IsEmptyAtFirst) {
  EXPECT_TRUE(store.all().empty());
  EXPECT_FALSE(store.approval(uuid(1)).has_value());
}

TEST_F(ApprovalStoreTest, KeepsIdentityAndFirstTimeWhileAllElseFollowsTheNewestScan) {
  store.replace({scanned(1)});
  const auto first = only();
  time.advance(Seconds{2});
  auto again = scanned(1);
  again.buttons[0].x += 50;
  again.windowFrame.y += 50;
  again.suppressionID = uuid(77);
  store.replace({again});
  EXPECT_EQ(only(), again.replacingIdentity(first.id, first.detectedAt));
}

TEST_F(ApprovalStoreTest, GivesAnIdentityOfItsOwn) {
  store.replace({scanned(1)});
  EXPECT_NE(only().id, uuid(1));
  EXPECT_FALSE(store.approval(uuid(1)).has_value()) << "a fingerprint is no identity";
  EXPECT_EQ(store.approval(only().id), only());
}

TEST_F(ApprovalStoreTest, KeepsAMissedPromptForTheGraceAndNotAMomentLonger) {
  store.replace({scanned(1)});
  const auto first = only();
  time.advance(Seconds{8});
  store.replace({});
  EXPECT_EQ(only(), first);
  time.advance(Seconds{0.001});
  store.replace({});
  EXPECT_TRUE(store.all().empty());

  store.replace({scanned(1)});
  EXPECT_NE(only().id, first.id);
  EXPECT_EQ(only().detectedAt, time.now());
}

TEST_F(ApprovalStoreTest, KeepsAPromptThatWasMissedForTheGraceThatItIsGivenNow) {
  store.replace({scanned(1)});
  time.advance(Seconds{5});
  store.setStaleAfter(Seconds{20});
  time.advance(Seconds{15});
  store.replace({});
  EXPECT_EQ(store.all().size(), 1U);
  store.setStaleAfter(Seconds{19});
  store.replace({});
  EXPECT_TRUE(store.all().empty());
}

TEST_F(ApprovalStoreTest, CountsTheGraceFromTheLastScanThatSawThePrompt) {
  store.replace({scanned(1)});
  for (int scan = 0; scan < 5; ++scan) {
    time.advance(Seconds{7});
    store.replace({scanned(1)});
  }
  time.advance(Seconds{8});
  store.replace({});
  EXPECT_EQ(store.all().size(), 1U);
}

TEST_F(ApprovalStoreTest, NeverLosesAFreshPromptToAnEmptyScan) {
  store.replace({scanned(1), scanned(2)});
  store.replace({});
  EXPECT_EQ(store.all().size(), 2U);
}

TEST_F(ApprovalStoreTest, RestoresTheIdentityOfAnAnsweredPromptThatIsSeenAgainSoon) {
  store.replace({scanned(1)});
  const auto first = only();
  store.remove(first.id);
  EXPECT_TRUE(store.all().empty());
  time.advance(Seconds{7.999});
  store.replace({scanned(1)});
  EXPECT_EQ(only().id, first.id);
  EXPECT_EQ(only().detectedAt, time.now());
}

TEST_F(ApprovalStoreTest, GivesAnAnsweredPromptANewIdentityOnceThePeriodHasLapsed) {
  store.replace({scanned(1)});
  const auto first = only();
  store.remove(first.id);
  time.advance(Seconds{8});
  store.replace({scanned(1)});
  EXPECT_NE(only().id, first.id);
}

TEST_F(ApprovalStoreTest, ForgetsAnAnsweredPromptAtOnceWhenNothingIsToBeRetained) {
  for (const double period : {0.0, -3.0}) {
    store.replace({scanned(1)});
    const auto first = only();
    store.remove(first.id, Seconds{period});
    store.replace({scanned(1)});
    EXPECT_NE(only().id, first.id);
  }
}

TEST_F(ApprovalStoreTest, RetainsForThePeriodThatItIsGiven) {
  store.replace({scanned(1)});
  const auto first = only();
  store.remove(first.id, Seconds{100});
  time.advance(Seconds{99});
  store.replace({});
  store.replace({scanned(1)});
  EXPECT_EQ(only().id, first.id);
}

TEST_F(ApprovalStoreTest, ARetainedIdentityThatIsCurrentAgainAgesAsAnyOther) {
  store.replace({scanned(1)});
  store.remove(only().id);
  time.advance(Seconds{4});
  store.replace({scanned(1)});
  const auto again = only();
  time.advance(Seconds{6});  // The retention would have lapsed.
  store.replace({scanned(1)});
  EXPECT_EQ(only(), again);
}

TEST_F(ApprovalStoreTest, RemovingWhatIsNotThereChangesNothing) {
  store.replace({scanned(1)});
  const auto before = store.all();
  store.remove(uuid(12345));
  store.removeSuppressed(uuid(12345));
  EXPECT_EQ(store.all(), before);
}

TEST_F(ApprovalStoreTest, RemovesEveryPromptOfASuppressedKindWithItsIdentities) {
  auto one = scanned(1);
  auto two = scanned(2);
  auto three = scanned(3);
  one.suppressionID = two.suppressionID = uuid(50);
  store.replace({one, two, three});
  std::set<Uuid> before;
  for (const auto& entry : store.all()) before.insert(entry.id);
  store.removeSuppressed(uuid(50));
  const auto left = only();
  EXPECT_EQ(left.suppressionID, uuid(3));

  store.replace({one, two, three});
  EXPECT_EQ(store.all().size(), 3U);
  for (const auto& entry : store.all()) {
    EXPECT_EQ(before.contains(entry.id), entry.id == left.id) << "the removed ones come back under new identities";
  }
}

TEST_F(ApprovalStoreTest, TakesTheLaterOfTwoRecordsWithOneFingerprintAndTheFirstOnesTime) {
  auto first = scanned(1);
  auto second = scanned(1);
  first.windowTitle = "First";
  second.windowTitle = "Second";
  second.detectedAt = samples::date(500);
  store.replace({first, second});
  EXPECT_EQ(only().windowTitle, "Second");
  EXPECT_EQ(only().detectedAt, first.detectedAt);
}

TEST_F(ApprovalStoreTest, ListsTheOldestFirstAndEqualOnesAlwaysInTheSameOrder) {
  auto early = scanned(1);
  auto late = scanned(2);
  early.detectedAt = samples::date(10);
  late.detectedAt = samples::date(20);
  std::vector<PendingApproval> records{late, early};
  for (std::uint64_t i = 3; i < 40; ++i) {
    records.push_back(scanned(i));
    records.back().detectedAt = samples::date(15);
  }
  store.replace(records);
  const auto all = store.all();
  EXPECT_EQ(all.front().detectedAt, early.detectedAt);
  EXPECT_EQ(all.back().detectedAt, late.detectedAt);
  EXPECT_EQ(store.all(), all);
  store.replace(records);
  EXPECT_EQ(store.all(), all);
}

TEST_F(ApprovalStoreTest, KeepsEverythingForAnInfiniteGrace) {
  ApprovalStore keeping{Seconds{std::numeric_limits<double>::infinity()}, time, random};
  keeping.replace({scanned(1)});
  time.advance(Seconds{1e9});
  keeping.replace({});
  ASSERT_EQ(keeping.all().size(), 1U);
  const auto id = keeping.all().front().id;
  keeping.remove(id);
  time.advance(Seconds{1e9});
  keeping.replace({scanned(1)});
  EXPECT_EQ(keeping.all().front().id, id);
}

TEST_F(ApprovalStoreTest, KeepsPromptsWhenTheClockIsSetBack) {
  store.replace({scanned(1)});
  time.setWallClock(time.now() - std::chrono::hours{24});
  store.replace({});
  EXPECT_EQ(store.all().size(), 1U);
}

TEST_F(ApprovalStoreTest, LetsPromptsGoInTimeWhenTheClockIsSetBack) {
  store.replace({scanned(1)});
  time.setWallClock(time.now() - std::chrono::hours{24});
  time.advance(Seconds{8.001});
  store.replace({});
  EXPECT_TRUE(store.all().empty());
}

TEST_F(ApprovalStoreTest, KeepsPromptsForTheirGraceWhenTheClockIsSetForward) {
  store.replace({scanned(1)});
  time.setWallClock(time.now() + std::chrono::hours{24});
  store.replace({});
  EXPECT_EQ(store.all().size(), 1U);
}

// ---- Texts that run

class ApprovalStoreTextTest : public ApprovalStoreTest {
 protected:
  // What the store lists after a scan that reads the prompt with this line: one fingerprint, whatever the time in it.
  PendingApproval afterReading(const std::string& line) {
    auto record = scanned(1);
    record.readAt = time.continuousTime();
    record.messageLines = {line};
    store.replace({record});
    return only();
  }
};

TEST_F(ApprovalStoreTextTest, ATimeThatJumpsIsAnotherPromptUnderAnotherIdentity) {
  const auto first = afterReading("Allow for 10 minutes?");
  time.advance(Seconds{2});
  const auto second = afterReading("Allow for 10 hours?");
  EXPECT_NE(second.id, first.id);
  EXPECT_EQ(second.detectedAt, time.now());
  EXPECT_EQ(second.messageLines.front(), "Allow for 10 hours?");
  EXPECT_FALSE(store.approval(first.id).has_value()) << "a decision on the old text presses nothing";
}

TEST_F(ApprovalStoreTextTest, ATimeThatJumpsAfterAnHourOfTheSamePromptIsAnotherOneToo) {
  const auto first = afterReading("Allow for 10 minutes?");
  for (int passed = 0; passed < 3600; passed += 2) {
    time.advance(Seconds{2});
    ASSERT_EQ(afterReading("Allow for 10 minutes?").id, first.id);
  }
  time.advance(Seconds{2});
  EXPECT_NE(afterReading("Allow for 60 minutes?").id, first.id);
}

TEST_F(ApprovalStoreTextTest, ACountdownKeepsItsIdentity) {
  const auto first = afterReading("Ends in 60 seconds");
  for (int left = 59; left >= 1; --left) {
    time.advance(Seconds{1});
    const auto now = afterReading("Ends in " + std::to_string(left) + " seconds");
    ASSERT_EQ(now.id, first.id) << left;
    ASSERT_EQ(now.detectedAt, first.detectedAt);
  }
}

TEST_F(ApprovalStoreTextTest, ACountdownOverAnHourInWholeMinutesKeepsItsIdentity) {
  const auto first = afterReading("Ends in 60 minutes");
  for (int left = 3598; left >= 60; left -= 2) {
    time.advance(Seconds{2});
    ASSERT_EQ(afterReading("Ends in " + std::to_string(left / 60) + " minutes").id, first.id) << left;
  }
}

TEST_F(ApprovalStoreTest, EachOperationIsAtomicForAllThreads) {
  const std::vector<PendingApproval> records{scanned(1), scanned(2), scanned(3)};
  store.replace(records);
  std::thread writer{[&] {
    for (int i = 0; i < 300; ++i) {
      store.replace(records);
      store.removeSuppressed(uuid(9));
    }
  }};
  std::size_t torn = 0;
  for (int i = 0; i < 300; ++i) torn += store.all().size() == 3 ? 0U : 1U;
  writer.join();
  EXPECT_EQ(torn, 0U);
}

}  // namespace
}  // namespace quillard
