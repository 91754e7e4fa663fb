#include <limits>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/ApprovalStore.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/VirtualTime.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using samples::approval;
using samples::uuid;

class ApprovalStoreTest : public testing::Test {
 protected:
  // A record as a scan at this moment would give it.
  PendingApproval scanned(std::uint64_t fingerprint) {
    auto record = approval(fingerprint);
    record.detectedAt = time.now();
    return record;
  }
  PendingApproval only() {
    const auto all = store.all();
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? PendingApproval{} : all.front();
  }

  platform::simulated::VirtualTime time{Seed{7}};
  platform::simulated::SimulatedRandom random{Seed{7}};
  ApprovalStore store{Seconds{8}, time, random};
};

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

// ---- Windows

struct NumberedWindow final : platform::AXElementReference {
  explicit NumberedWindow(int number) : number(number) {}
  [[nodiscard]] bool isEqual(const AXElementReference& other) const override {
    return dynamic_cast<const NumberedWindow&>(other).number == number;
  }
  [[nodiscard]] std::size_t hashValue() const override { return static_cast<std::size_t>(number); }
  const int number;
};

class ApprovalStoreWindowTest : public ApprovalStoreTest {
 protected:
  static constexpr std::int32_t kProcess = 412;

  PendingApproval shownIn(int window, std::uint64_t fingerprint = 1, std::int32_t process = kProcess) {
    auto record = scanned(fingerprint);
    record.window = platform::AXUIElement{std::make_shared<NumberedWindow>(window)};
    record.processIdentifier = process;
    return record;
  }
  static ScanOutcome unread(std::vector<std::int32_t> processes, std::vector<PendingApproval> approvals = {}) {
    ScanOutcome outcome;
    outcome.approvals = std::move(approvals);
    outcome.unreadProcesses = std::move(processes);
    return outcome;
  }
  static ScanOutcome unseen() {
    ScanOutcome outcome;
    outcome.failure = platform::DesktopReadFailure::applicationList;
    return outcome;
  }
  void passAnHour(const ScanOutcome& outcome) {
    for (int i = 0; i < 360; ++i) {
      time.advance(Seconds{10});
      (void)store.merge(outcome);
    }
  }
};

TEST_F(ApprovalStoreWindowTest, TheSameContentInAnotherWindowIsANewPrompt) {
  store.replace({shownIn(1)});
  const auto first = only();
  time.advance(Seconds{2});
  store.replace({shownIn(2)});
  EXPECT_NE(only().id, first.id);
  EXPECT_EQ(only().detectedAt, time.now());
  EXPECT_FALSE(store.approval(first.id));
  store.replace({shownIn(1)});
  EXPECT_NE(only().id, first.id) << "what is gone never comes back";
}

TEST_F(ApprovalStoreWindowTest, AnAnswerEndsWhatElseTheWindowWasSeenToShowBefore) {
  constexpr std::uint64_t kMoved = 2;  // The place is part of a fingerprint.
  constexpr std::uint64_t kElsewhere = 3;
  store.replace({shownIn(1), shownIn(2, kElsewhere)});
  const auto before = store.all();
  time.advance(Seconds{1});
  store.replace({shownIn(1, kMoved)});
  ASSERT_EQ(store.all().size(), 3U) << "it may move back, within the grace";
  const auto all = store.all();
  store.remove(all.back().id, Seconds::zero());
  EXPECT_EQ(only().window, shownIn(2).window) << "the window has gone, in whatever place it was";
}

TEST_F(ApprovalStoreWindowTest, AnAnswerToAPromptWhereItWasEndsItWhereItIs) {
  constexpr std::uint64_t kMoved = 2;
  store.replace({shownIn(1)});
  const auto before = only();
  time.advance(Seconds{1});
  store.replace({shownIn(1, kMoved)});
  store.remove(before.id, Seconds::zero());
  EXPECT_TRUE(store.all().empty());
}

TEST_F(ApprovalStoreWindowTest, AnAnswerLeavesWhatItsWindowShowsByNow) {
  constexpr std::uint64_t kNext = 2;
  store.replace({shownIn(1)});
  const auto answered = only();
  time.advance(Seconds{1});
  auto other = shownIn(1, kNext);
  other.windowTitle = "Next";
  store.replace({other});
  const auto next = store.all().back();
  store.remove(answered.id, Seconds::zero());
  EXPECT_EQ(only().id, next.id);
}

TEST_F(ApprovalStoreWindowTest, ThePromptStaysWithItsWindowAmongTwinsInWhateverOrder) {
  store.replace({shownIn(1), shownIn(2)});
  const auto first = only();
  EXPECT_EQ(first.window, shownIn(1).window) << "the first";
  for (const auto& order : {std::vector{2, 1}, std::vector{1, 2}, std::vector{3, 2, 1}}) {
    std::vector<PendingApproval> records;
    for (const int window : order) records.push_back(shownIn(window));
    store.replace(records);
    EXPECT_EQ(only(), first.replacingIdentity(first.id, first.detectedAt));
  }
  store.replace({shownIn(2), shownIn(3)});
  const auto second = only();
  EXPECT_NE(second.id, first.id);
  EXPECT_EQ(second.window, shownIn(2).window);
  store.replace({shownIn(3)});
  EXPECT_NE(only().id, second.id);
}

TEST_F(ApprovalStoreWindowTest, AnAnsweredTwinMakesTheOtherOneAPromptOfItsOwn) {
  store.replace({shownIn(1), shownIn(2)});
  const auto first = only();
  store.remove(first.id, Seconds{0});
  store.replace({shownIn(2)});
  EXPECT_NE(only().id, first.id);
}

TEST_F(ApprovalStoreWindowTest, ARecordWithoutAWindowCountsAsInTheSame) {
  store.replace({scanned(1)});
  const auto first = only();
  store.replace({shownIn(1)});
  EXPECT_EQ(only().id, first.id);
  store.replace({scanned(1)});
  EXPECT_EQ(only().id, first.id);
}

TEST_F(ApprovalStoreWindowTest, AWindowThatChangesAndChangesBackKeepsItsIdentityForTheGrace) {
  store.replace({shownIn(1, 1)});
  const auto first = only();
  time.advance(Seconds{4});
  store.replace({shownIn(1, 2)});
  time.advance(Seconds{4});
  store.replace({shownIn(1, 1)});
  EXPECT_EQ(store.approval(first.id)->detectedAt, first.detectedAt);
}

// ---- What could not be read

TEST_F(ApprovalStoreWindowTest, APromptOfAProcessThatCouldNotBeReadDoesNotAge) {
  store.replace({shownIn(1)});
  const auto first = only();
  for (int i = 0; i < 60; ++i) {
    time.advance(Seconds{10});
    EXPECT_EQ(store.merge(unread({kProcess})), 0U) << "it is not missed";
    ASSERT_EQ(only(), first);
  }
  time.advance(Seconds{8});
  EXPECT_EQ(store.merge({}), 1U);
  EXPECT_EQ(only(), first) << "the grace runs from the last scan that could not tell";
  time.advance(Seconds{0.001});
  EXPECT_EQ(store.merge({}), 0U);
  EXPECT_TRUE(store.all().empty());
}

TEST_F(ApprovalStoreWindowTest, AScanThatCouldNotSeeTheDesktopAgesNothing) {
  store.replace({shownIn(1), shownIn(2, 2, 7), scanned(3)});
  const auto before = store.all();
  for (int i = 0; i < 60; ++i) {
    time.advance(Seconds{10});
    EXPECT_EQ(store.merge(unseen()), 0U);
  }
  EXPECT_EQ(store.all(), before);
}

TEST_F(ApprovalStoreWindowTest, NothingVouchesForAPromptForLongerThanTenMinutes) {
  for (const auto& outcome : {unread({kProcess}), unseen()}) {
    store.replace({shownIn(1)});
    const auto first = only();
    time.advance(Seconds{3600});  // Of sleep, say: what counts is for how long scans try.
    EXPECT_EQ(store.merge(outcome), 0U);
    time.advance(ApprovalStore::kLongestUnread);
    EXPECT_EQ(store.merge(outcome), 0U);
    EXPECT_EQ(only(), first);
    time.advance(Seconds{8});
    EXPECT_EQ(store.merge(outcome), 1U) << "now it ages";
    EXPECT_EQ(only(), first);
    time.advance(Seconds{0.001});
    (void)store.merge(outcome);
    EXPECT_TRUE(store.all().empty());
  }
}

TEST_F(ApprovalStoreWindowTest, OtherProcessesAgeAsEver) {
  store.replace({shownIn(1, 1, 7), shownIn(2, 2, 8)});
  time.advance(Seconds{8.001});
  (void)store.merge(unread({7}));
  EXPECT_EQ(only().processIdentifier, 7);
}

TEST_F(ApprovalStoreWindowTest, ATwinWaitsWhileTheWindowOfTheIdentityCouldNotBeRead) {
  store.replace({shownIn(1, 1, 7)});
  const auto first = only();
  time.advance(Seconds{100});
  (void)store.merge(unread({7}, {shownIn(2, 1, 8)}));
  EXPECT_EQ(only(), first) << "it may still be there";
  (void)store.merge(unread({}, {shownIn(2, 1, 8)}));
  EXPECT_NE(only().id, first.id) << "it is not";
}

TEST_F(ApprovalStoreWindowTest, NothingOfASilentProcessStaysForEver) {
  for (std::uint64_t i = 1; i <= 20; ++i) {
    store.replace({shownIn(static_cast<int>(i), i)});
    passAnHour(unread({kProcess}));
    EXPECT_TRUE(store.all().empty());
  }
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
