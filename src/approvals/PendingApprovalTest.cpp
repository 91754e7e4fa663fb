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
