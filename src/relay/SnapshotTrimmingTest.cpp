#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "foundation/Text.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCrypto.h"
#include "relay/SnapshotRecords.h"
#include "relay/SnapshotTrimming.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using samples::approval;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t kRelayLimit = 1024 * 1024;

PendingApproval wordy(std::uint64_t id, std::size_t bytes) {
  auto wordy = approval(id);
  wordy.messageLines = {"First.", std::string(bytes, 'x'), "Last."};
  wordy.reason = "First.\n" + std::string(bytes, 'x') + "\nLast.";
  return wordy;
}

TEST(SnapshotTrimming, LeavesOrdinaryListsAlone) {
  std::vector<PendingApproval> ordinary;
  for (std::uint64_t i = 1; i <= 100; ++i) ordinary.push_back(approval(i));
  const auto trimmed = trimmedSnapshot(ordinary);
  EXPECT_TRUE(trimmed.isWhole());
  EXPECT_EQ(trimmed.approvals, ordinary);
  EXPECT_THAT(trimmedSnapshot({}).approvals, IsEmpty());
}

TEST(SnapshotTrimming, LeavesAloneWhatJustFits) {
  const std::vector<PendingApproval> list{wordy(1, 200), wordy(2, 20'000)};
  const auto length = pendingApprovalsText(list)->size() + list.size() * kLongestMarks;
  EXPECT_EQ(trimmedSnapshot(list, length + 1).approvals, list);
  EXPECT_FALSE(trimmedSnapshot(list, length - 1).isWhole());
}

TEST(SnapshotTrimming, CutsLongTextsFirst) {
  const auto trimmed = trimmedSnapshot({wordy(1, 60'000), approval(2)}, 50'000);
  EXPECT_EQ(trimmed.shortened, 1U);
  EXPECT_EQ(trimmed.leftOut, 0U);
  ASSERT_THAT(trimmed.approvals, SizeIs(2));
  EXPECT_THAT(trimmed.approvals[0].messageLines, ElementsAre("First.", EndsWith("x…")));
  EXPECT_EQ(trimmed.approvals[0].messageLines[1].size(), kShortenedText - 6);
  EXPECT_EQ(trimmed.approvals[0].reason.size(), kShortenedText);
  EXPECT_EQ(trimmed.approvals[0].buttons, approval(1).buttons);
  EXPECT_EQ(trimmed.approvals[1], approval(2));
  EXPECT_EQ(trimmed.description(), "The list of approvals is too long for the relay: 1 shortened, 0 left out.");
}

TEST(SnapshotTrimming, NeverCutsThroughACharacter) {
  auto greek = approval(1);
  for (std::size_t offset = 0; offset < 4; ++offset) {
    greek.messageLines = {std::string(offset, 'x')};
    greek.reason = std::string(offset, 'x');
    for (int i = 0; i < 10'000; ++i) {
      greek.messageLines[0] += "\xF0\x9F\x94\x92";
      greek.reason += "\xF0\x9F\x94\x92";
    }
    const auto trimmed = trimmedSnapshot({greek}, 30'000);
    ASSERT_THAT(trimmed.approvals, SizeIs(1));
    EXPECT_TRUE(text::isValidUtf8(trimmed.approvals[0].messageLines[0]));
    EXPECT_TRUE(text::isValidUtf8(trimmed.approvals[0].reason));
    EXPECT_LE(trimmed.approvals[0].reason.size(), kShortenedText);
  }
}

TEST(SnapshotTrimming, AnExhaustedAllowanceStillShowsThatMoreWasThere) {
  auto many = approval(1);
  many.messageLines = {std::string(kShortenedText - 1, 'x'), "one more", std::string(5000, 'y')};
  const auto trimmed = trimmedSnapshot({many}, 12'000);
  ASSERT_THAT(trimmed.approvals, SizeIs(1));
  EXPECT_TRUE(trimmed.approvals[0].messageLines == std::vector({many.messageLines[0], std::string("…")}));
}

// Its length cannot be cut: decisions go by labels.
PendingApproval huge(std::uint64_t id, std::size_t bytes) {
  auto huge = approval(id);
  huge.windowTitle = std::string(bytes, 'x');
  return huge;
}

std::vector<Uuid> identitiesOf(const TrimmedSnapshot& trimmed) {
  std::vector<Uuid> identities;
  for (const auto& approval : trimmed.approvals) identities.push_back(approval.id);
  return identities;
}

TEST(SnapshotTrimming, OneHugeNewerPromptPushesNoSmallOneOut) {
  const auto trimmed = trimmedSnapshot({approval(1), approval(2), approval(3), huge(4, 60'000)}, 50'000);
  EXPECT_THAT(identitiesOf(trimmed), ElementsAre(samples::uuid(1), samples::uuid(2), samples::uuid(3)));
  EXPECT_EQ(trimmed.leftOut, 1U);
  EXPECT_EQ(trimmed.shortened, 0U);
}

TEST(SnapshotTrimming, LeavesOutTheLargestFirstAndKeepsTheOrder) {
  const auto trimmed =
      trimmedSnapshot({huge(1, 20'000), approval(2), huge(3, 40'000), huge(4, 10'000), approval(5)}, 40'000);
  EXPECT_THAT(identitiesOf(trimmed),
              ElementsAre(samples::uuid(1), samples::uuid(2), samples::uuid(4), samples::uuid(5)));
  EXPECT_EQ(trimmed.leftOut, 1U);
}

TEST(SnapshotTrimming, OfPromptsOfOneSizeTheNewestGoesFirst) {
  std::vector<PendingApproval> list;
  for (std::uint64_t i = 1; i <= 10; ++i) list.push_back(wordy(i, 60'000));
  const auto trimmed = trimmedSnapshot(list, 40'000);
  EXPECT_EQ(trimmed.leftOut, 8U);
  EXPECT_EQ(trimmed.shortened, 2U);
  EXPECT_THAT(identitiesOf(trimmed), ElementsAre(samples::uuid(1), samples::uuid(2)));
}

TEST(SnapshotTrimming, OfAListOfWhichNothingFitsTheSmallestIsNamed) {
  auto hostile = approval(1);
  hostile.appName = std::string(300, 'a');
  hostile.windowRole = std::string(60'000, 'r');
  const auto trimmed = trimmedSnapshot({huge(7, 80'000), hostile, huge(8, 70'000)}, 50'000);
  ASSERT_THAT(trimmed.approvals, SizeIs(1));
  const auto& shown = trimmed.approvals[0];
  EXPECT_EQ(shown.id, samples::uuid(1));
  EXPECT_THAT(shown.appName, EndsWith("a…"));
  EXPECT_EQ(shown.windowTitle, hostile.windowTitle);
  EXPECT_THAT(shown.buttons, IsEmpty());
  EXPECT_TRUE(shown.requiresDirectAccess);
  EXPECT_EQ(shown.directAccessReason, "This prompt is too long to be shown here. Look at the computer.");
  EXPECT_EQ(trimmed.leftOut, 2U);
  EXPECT_EQ(trimmed.shortened, 1U);
}

// ---- What phones read

TEST(SnapshotTrimming, APromptWithMoreButtonsThanAPhoneReadsDoesNotMakeTheListUnreadable) {
  auto atTheLimit = approval(1);
  atTheLimit.buttons.assign(kMostButtons, samples::button("OK"));
  auto beyond = approval(2);
  beyond.buttons.assign(kMostButtons + 1, samples::button("OK"));
  const auto trimmed = trimmedSnapshot({atTheLimit, beyond, approval(3)});
  ASSERT_THAT(trimmed.approvals, SizeIs(3));
  EXPECT_EQ(trimmed.approvals[0], atTheLimit);
  EXPECT_THAT(trimmed.approvals[1].buttons, IsEmpty());
  EXPECT_TRUE(trimmed.approvals[1].requiresDirectAccess);
  EXPECT_EQ(trimmed.approvals[2], approval(3));
  EXPECT_EQ(trimmed.shortened, 1U);
  EXPECT_EQ(trimmed.leftOut, 0U);
}

TEST(SnapshotTrimming, APromptWithALongerLabelThanAPhoneReadsIsShownWithoutButtons) {
  auto atTheLimit = approval(1);
  atTheLimit.buttons = {samples::button(std::string(kLongestLabel, 'x'))};
  auto beyond = approval(2);
  beyond.buttons = {samples::button(std::string(kLongestLabel + 1, 'x'))};
  const auto trimmed = trimmedSnapshot({atTheLimit, beyond});
  ASSERT_THAT(trimmed.approvals, SizeIs(2));
  EXPECT_EQ(trimmed.approvals[0], atTheLimit);
  EXPECT_THAT(trimmed.approvals[1].buttons, IsEmpty());
}

TEST(SnapshotTrimming, LinesThatAPhoneDoesNotReadAreCut) {
  auto lines = approval(1);
  lines.messageLines.assign(kMostLines + 1, "x");
  const auto trimmed = trimmedSnapshot({lines});
  ASSERT_THAT(trimmed.approvals, SizeIs(1));
  EXPECT_THAT(trimmed.approvals[0].messageLines, SizeIs(kMostLines));
  EXPECT_EQ(trimmed.approvals[0].messageLines.back(), "…");
  EXPECT_EQ(trimmed.approvals[0].buttons, lines.buttons);
}

TEST(SnapshotTrimming, NoListIsLongerThanAPhoneReads) {
  std::vector<PendingApproval> list;
  for (std::uint64_t i = 1; i <= kMostApprovals + 5; ++i) {
    PendingApproval tiny{.id = samples::uuid(i)};
    list.push_back(tiny);
  }
  list[3].windowTitle = "A little longer.";
  const auto trimmed = trimmedSnapshot(list);
  EXPECT_THAT(trimmed.approvals, SizeIs(kMostApprovals));
  EXPECT_EQ(trimmed.leftOut, 5U);
  EXPECT_EQ(trimmed.approvals[3].id, samples::uuid(5)) << "The largest goes first.";
}

TEST(SnapshotTrimming, TheWorstListFitsOneRelayMessage) {
  std::vector<PendingApproval> list;
  for (std::uint64_t i = 1; i <= 40; ++i) {
    auto escaped = wordy(i, 0);
    escaped.messageLines.assign(20, std::string(10'000, '\x01'));
    list.push_back(escaped);
  }
  const auto trimmed = trimmedSnapshot(list);
  EXPECT_GT(trimmed.approvals.size(), 5U);
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  const SnapshotMarks marks{.clock = ClockStamp{samples::uuid(1), kLatestStampTime}, .leftOut = kMostLeftOut};
  const auto sealed = std::get<EncryptedRelayPayload>(
      RelayCrypto::seal(snapshotRecords(trimmed.approvals, marks), Secret{std::string_view{"shared-secret"}}, random));
  EXPECT_LT(jsonText(toJson(MacSnapshotRelayMessage{.encryptedApprovals = sealed}))->size(), kRelayLimit - 16'384);
}

}  // namespace
}  // namespace quillard
