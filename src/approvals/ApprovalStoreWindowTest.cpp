#include <gtest/gtest.h>

#include "support/ApprovalStoreFixture.h"

namespace quillard {
namespace {

using ApprovalStoreWindowTest = test::ApprovalStoreWindowFixture;

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

}  // namespace
}  // namespace quillard
