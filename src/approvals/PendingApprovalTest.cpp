#include <cmath>
#include <limits>
#include <set>
#include <unordered_set>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "approvals/PendingApproval.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using samples::approval;
using samples::button;
using samples::uuid;

TEST(DisplayTitle, IsTheApplicationAndTheTitle) {
  auto record = approval();
  record.appName = "Finder";
  record.windowTitle = "Copy";
  EXPECT_EQ(record.displayTitle(), "Finder: Copy");
}

TEST(DisplayTitle, SaysThatTheApplicationNeedsAttentionWhenThereIsNoTitle) {
  auto record = approval();
  record.appName = "Safari";
  record.windowTitle = "";
  EXPECT_EQ(record.displayTitle(), "Safari needs attention");
}

TEST(DisplayTitle, TakesABlankForATitle) {
  auto record = approval();
  record.appName = "Safari";
  record.windowTitle = " ";
  EXPECT_EQ(record.displayTitle(), "Safari:  ");
}

TEST(DialogFrameIdentity, CutsFractionsOffTowardsZero) {
  EXPECT_EQ((DialogFrame{10.9, -3.2, 400, 180.5}).identity(), "10,-3,400,180");
  EXPECT_EQ((DialogFrame{0.99, 0.99, 0.99, 0.99}).identity(), "0,0,0,0");
  EXPECT_EQ((DialogFrame{-0.5, -1.5, 2, 3}).identity(), "0,-1,2,3");
  EXPECT_EQ((DialogFrame{-9223372036854775808.0, 9e18, 0, 0}).identity(),
            "-9223372036854775808,9000000000000000000,0,0");
}

TEST(DialogFrameIdentity, IsThereForFramesThatFitOnly) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {std::nan(""), infinity, -infinity, 9223372036854775808.0, -1e19}) {
    EXPECT_FALSE((DialogFrame{bad, 0, 1, 1}).hasIdentity()) << bad;
    EXPECT_FALSE((DialogFrame{0, 0, 1, bad}).hasIdentity()) << bad;
  }
  EXPECT_TRUE((DialogFrame{-2147483648.0, -2147483648.0, 1, 1}).hasIdentity());
}

TEST(DialogFrameIdentityDeathTest, StopsTheProcessForAFrameThatHasNone) {
  const DialogFrame frame{std::nan(""), 0, 1, 1};
  EXPECT_DEATH((void)frame.identity(), "A frame without identity was asked for its identity.");
}

TEST(ReplacingIdentity, ChangesNothingButIdentityAndTime) {
  auto record = approval(1);
  record.suppressionID = uuid(9);
  const auto replaced = record.replacingIdentity(uuid(2), samples::date(60));
  auto expected = record;
  expected.id = uuid(2);
  expected.detectedAt = samples::date(60);
  EXPECT_EQ(replaced, expected);
  EXPECT_EQ(replaced.suppressionID, uuid(9));
}

TEST(MakingARecord, TakesTheIdentityForAMissingSuppressionIdentity) {
  EXPECT_EQ(PendingApproval::make({.id = uuid(3)}).suppressionID, uuid(3));
  EXPECT_EQ(PendingApproval::make({.id = uuid(3)}, uuid(4)).suppressionID, uuid(4));
}

// One change to each of the sixteen fields.
std::vector<PendingApproval> variations() {
  std::vector<PendingApproval> variations(18, approval());
  variations[0].id = uuid(99);
  variations[1].suppressionID = uuid(99);
  variations[2].detectedAt = samples::date(1);
  variations[3].appName = "Other";
  variations[4].bundleIdentifier = std::nullopt;
  variations[5].processIdentifier = 413;
  variations[6].windowTitle = "Erase disk";
  variations[7].windowRole = "AXSheet";
  variations[8].windowFrame.width += 0.5;
  std::swap(variations[9].messageLines[0], variations[9].messageLines[1]);
  variations[10].reason = "";
  std::swap(variations[11].buttons[0], variations[11].buttons[1]);
  variations[12].recommendedButtonLabel = std::nullopt;
  variations[13].requiresDirectAccess = false;
  variations[14].directAccessReason = std::nullopt;
  variations[15].isFallbackDetection = true;
  variations[16].buttons[1].height += 1;
  variations[17].directAccessReason = "";
  return variations;
}

TEST(Equality, SeesEveryField) {
  EXPECT_EQ(approval(), approval());
  for (const auto& variation : variations()) EXPECT_NE(variation, approval()) << variation.displayTitle();
}

TEST(Equality, SeesTheOrderOfButtons) {
  auto swapped = approval();
  std::swap(swapped.buttons[0], swapped.buttons[1]);
  EXPECT_NE(swapped, approval());
}

TEST(Hashing, IsEqualForEqualRecordsAndCombinesEveryField) {
  std::unordered_set<PendingApproval> records{approval(), approval()};
  EXPECT_EQ(records.size(), 1U);
  std::set<std::size_t> hashes{std::hash<PendingApproval>{}(approval())};
  for (const auto& variation : variations()) hashes.insert(std::hash<PendingApproval>{}(variation));
  EXPECT_EQ(hashes.size(), variations().size() + 1);
}

// ---- The match score

TEST(MatchScore, IsAThousandForTheSameIdentityWhateverElseDiffers) {
  auto other = approval();
  other.processIdentifier = 1;
  other.windowTitle = "";
  EXPECT_EQ(approval().matchScore(other), 1000);
}

PendingApproval candidate() {
  auto candidate = approval(2);
  return candidate;
}

TEST(MatchScore, LosesAPointForEachPointOfDistance) {
  auto moved = candidate();
  EXPECT_EQ(approval().matchScore(moved), 500);
  moved.windowFrame.x += 60;
  moved.windowFrame.y -= 80;
  EXPECT_EQ(approval().matchScore(moved), 400);
}

TEST(MatchScore, MeasuresFromCentreToCentre) {
  auto grown = candidate();
  grown.windowFrame.x -= 50;
  grown.windowFrame.width += 100;
  EXPECT_EQ(approval().matchScore(grown), 500);
}

TEST(MatchScore, IsNeverBelowOneForTheSamePrompt) {
  auto moved = candidate();
  moved.windowFrame.x += 600;
  EXPECT_EQ(approval().matchScore(moved), 1);
  moved.windowFrame.x = std::nan("");
  EXPECT_EQ(approval().matchScore(moved), 1);
}

TEST(MatchScore, IsZeroWhenTheContentDiffers) {
  auto other = candidate();
  other.messageLines.emplace_back("One line more.");
  EXPECT_EQ(approval().matchScore(other), 0);
  other = candidate();
  std::swap(other.messageLines[0], other.messageLines[1]);
  EXPECT_EQ(approval().matchScore(other), 0);
  other = candidate();
  other.processIdentifier += 1;
  EXPECT_EQ(approval().matchScore(other), 0);
  other = candidate();
  other.bundleIdentifier = std::nullopt;
  EXPECT_EQ(approval().matchScore(other), 0);
  other = candidate();
  other.windowTitle = "erase disk?";
  EXPECT_EQ(approval().matchScore(other), 0);
  other = candidate();
  other.buttons.push_back(button("Skip"));
  EXPECT_EQ(approval().matchScore(other), 0);
}

TEST(MatchScore, TakesTwoMissingBundleIdentifiersForEqual) {
  auto stored = approval();
  auto other = candidate();
  stored.bundleIdentifier = std::nullopt;
  other.bundleIdentifier = std::nullopt;
  EXPECT_EQ(stored.matchScore(other), 500);
}

TEST(MatchScore, IgnoresOrderAndRepetitionOfButtons) {
  auto other = candidate();
  other.buttons = {button("Erase"), button("Cancel"), button("Erase")};
  EXPECT_EQ(approval().matchScore(other), 500);
}

// As a scan so long after the sample would read it, with these buttons and this line.
PendingApproval readAfter(Seconds passed, const std::string& line, const std::vector<std::string>& labels) {
  auto record = approval(static_cast<std::uint64_t>(passed.count()) + 2);
  record.readAt = saturatingDuration<std::chrono::milliseconds>(passed);
  record.messageLines = {line};
  record.buttons.clear();
  for (const auto& label : labels) record.buttons.push_back(button(label));
  return record;
}

TEST(MatchScore, GoesByTheTimeSinceTheTextWasReadAndNotSinceThePromptWasFirstSeen) {
  const auto asked = readAfter(Seconds{3600}, "Allow for 10 minutes?", {"Allow"});
  auto later = readAfter(Seconds{3602}, "Allow for 60 minutes?", {"Allow"});
  later.detectedAt = advanced(asked.detectedAt, Seconds{3602});
  EXPECT_EQ(asked.matchScore(later), 0);
  EXPECT_GT(readAfter(Seconds{0}, "Ends in 60 seconds", {"Stop"})
                .matchScore(readAfter(Seconds{50}, "Ends in 10 seconds", {"Stop"})),
            0);
  auto unread = readAfter(Seconds{50}, "Ends in 10 seconds", {"Stop"});
  unread.readAt = std::nullopt;
  EXPECT_EQ(readAfter(Seconds{0}, "Ends in 60 seconds", {"Stop"}).matchScore(unread), 0)
      << "how long it was is unknown";
}

TEST(MatchScore, LetsAPercentageRiseOnlyBesideAProgressIndicatorInBoth) {
  auto first = readAfter(Seconds{0}, "Copying… 43 %", {"Stop"});
  auto later = readAfter(Seconds{1}, "Copying… 44 %", {"Stop"});
  EXPECT_EQ(first.matchScore(later), 0);
  first.showsProgress = true;
  EXPECT_EQ(first.matchScore(later), 0);
  later.showsProgress = true;
  EXPECT_GT(first.matchScore(later), 0);
  EXPECT_EQ(later.matchScore(first), 0) << "it never falls";
}

TEST(MatchScore, LetsAButtonCountDownWithTheClock) {
  const auto first = readAfter(Seconds{0}, "Restart?", {"Restart (60)", "Cancel"});
  EXPECT_GT(first.matchScore(readAfter(Seconds{20}, "Restart?", {"Restart (40)", "Cancel"})), 0);
  EXPECT_EQ(first.matchScore(readAfter(Seconds{20}, "Restart?", {"Restart (30)", "Cancel"})), 0);
  EXPECT_EQ(first.matchScore(readAfter(Seconds{20}, "Restart?", {"Restart (61)", "Cancel"})), 0);
}

TEST(MatchScore, ComparesButtonsThatCouldBeTakenForEachOtherExactly) {
  const auto first = readAfter(Seconds{0}, "Which?", {"Delete (4)", "Delete (3)"});
  EXPECT_GT(first.matchScore(readAfter(Seconds{1}, "Which?", {"Delete (4)", "Delete (3)"})), 0);
  EXPECT_EQ(first.matchScore(readAfter(Seconds{1}, "Which?", {"Delete (3)", "Delete (2)"})), 0);
  EXPECT_EQ(first.matchScore(readAfter(Seconds{1}, "Which?", {"Delete (3)"})), 0);
}

TEST(MatchScore, LeavesOurOwnLineForAPromptWithoutTextOut) {
  auto first = readAfter(Seconds{0}, "Blocking Tool with buttons: Restart (9)", {"Restart (9)"});
  auto later = readAfter(Seconds{1}, "Blocking Tool with buttons: Restart (8)", {"Restart (8)"});
  EXPECT_EQ(first.matchScore(later), 0);
  first.isFallbackDetection = later.isFallbackDetection = true;
  EXPECT_GT(first.matchScore(later), 0);
}

// ---- The button of a label

TEST(ButtonOfALabel, IsTheOneOfThatLabelOrTheOneThatHasCountedDownToIt) {
  const auto record = readAfter(Seconds{0}, "Which?", {"Restart (8)", "Delete (2)", "Delete (1)", "Wait 5 s", "(3)"});
  EXPECT_EQ(record.button("Restart (9)"), &record.buttons[0]);
  EXPECT_EQ(record.button("Restart (7)"), nullptr) << "it does not count up";
  EXPECT_EQ(record.button("Restart (129)"), nullptr);
  EXPECT_EQ(record.button("Delete (1)"), &record.buttons[2]);
  EXPECT_EQ(record.button("Delete (3)"), nullptr) << "either may be meant";
  EXPECT_EQ(record.button("Wait 6 s"), nullptr);
}

TEST(ButtonOfALabel, IsNoneBesideAnotherThatCountsEvenIfThatOneHasRisen) {
  const auto record = readAfter(Seconds{0}, "Which?", {"Delete (2)", "Delete (5000)"});
  EXPECT_EQ(record.button("Delete (3)"), nullptr);
}

RC_GTEST_PROP(MatchScore, AgreesWithItsDefinition, ()) {
  const auto coordinate = rc::gen::map(rc::gen::inRange(-3000, 3000), [](int value) { return value / 2.0; });
  const auto labels =
      rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>("Allow", "Deny", "OK"));
  const auto randomRecord = [&](std::uint64_t id) {
    auto record = approval(id);
    record.processIdentifier = *rc::gen::inRange(1, 3);
    record.windowTitle = *rc::gen::element<std::string>("", "Title");
    record.windowFrame = {*coordinate, *coordinate, *coordinate, *coordinate};
    record.messageLines = *labels;
    record.buttons.clear();
    for (const auto& label : *labels) record.buttons.push_back(button(label));
    return record;
  };
  const auto stored = randomRecord(1);
  const auto live = randomRecord(2);
  const auto labelSet = [](const PendingApproval& of) {
    std::set<std::string> set;
    for (const auto& one : of.buttons) set.insert(one.label);
    return set;
  };
  const bool same = stored.processIdentifier == live.processIdentifier && stored.windowTitle == live.windowTitle &&
                    stored.messageLines == live.messageLines && labelSet(stored) == labelSet(live);
  const auto centre = [](const DialogFrame& frame) {
    return std::pair{frame.x + frame.width * 0.5, frame.y + frame.height * 0.5};
  };
  const auto [ax, ay] = centre(stored.windowFrame);
  const auto [bx, by] = centre(live.windowFrame);
  const double distance = std::sqrt((ax - bx) * (ax - bx) + (ay - by) * (ay - by));
  const double score = stored.matchScore(live);
  RC_ASSERT((score > 0) == same);
  if (same) RC_ASSERT(std::abs(score - std::max(1.0, 500 - distance)) < 1e-9);
  RC_ASSERT(live.matchScore(stored) == score);
}

}  // namespace
}  // namespace quillard
