#include <chrono>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "relay/SnapshotRecords.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using samples::approval;

const ClockStamp kStamp{samples::uuid(9), 1500ms};

std::string textOf(const std::vector<PendingApproval>& approvals, const SnapshotMarks& marks) {
  return *jsonText(snapshotRecords(approvals, marks));
}

TEST(SnapshotRecords, EveryRecordSaysTheTimeAndHowManyAreLeftOut) {
  const auto records = snapshotRecords({approval(1), approval(2)}, {.clock = kStamp, .leftOut = 3});
  ASSERT_EQ(records.size(), 2U);
  for (const auto& record : records) {
    EXPECT_EQ(record["clock"], toJson(kStamp));
    EXPECT_EQ(record["leftOut"], 3);
  }
}

TEST(SnapshotRecords, AListThatIsWholeDoesNotSpeakOfWhatIsLeftOut) {
  const auto records = snapshotRecords({approval(1)}, {.clock = kStamp});
  EXPECT_FALSE(records[0].contains("leftOut"));
}

TEST(SnapshotRecords, AreOrdinaryApprovalsForAReaderThatKnowsNoMarks) {
  const std::vector<PendingApproval> approvals{approval(1), approval(2)};
  const auto read = readPendingApprovals(textOf(approvals, {.clock = kStamp, .leftOut = 3}));
  EXPECT_EQ(std::get<std::vector<PendingApproval>>(read), approvals);
}

TEST(SnapshotRecords, AnEmptyListBearsNoMarks) {
  EXPECT_EQ(textOf({}, {.clock = kStamp, .leftOut = 3}), "[]");
  EXPECT_EQ(std::get<SnapshotMarks>(readSnapshotMarks("[]")), SnapshotMarks{});
}

TEST(SnapshotRecords, MarksAreReadAsTheyAreWritten) {
  for (const auto& marks :
       {SnapshotMarks{}, SnapshotMarks{.clock = kStamp}, SnapshotMarks{.clock = kStamp, .leftOut = kMostLeftOut}}) {
    EXPECT_EQ(std::get<SnapshotMarks>(readSnapshotMarks(textOf({approval(1)}, marks))), marks);
  }
}

TEST(SnapshotRecords, MarksAreNeverLongerThanTheirAllowance) {
  const auto bare = textOf({approval(1)}, {}).size();
  const SnapshotMarks longest{.clock = ClockStamp{samples::uuid(1), kLatestStampTime}, .leftOut = SIZE_MAX};
  EXPECT_LE(textOf({approval(1)}, longest).size() - bare, kLongestMarks);
}

TEST(SnapshotRecords, BadMarksAreRefused) {
  const std::vector<std::pair<std::string, std::string>> table{
      {"", "The text is not valid JSON."},
      {"{}", "Expected a list."},
      {"[7]", "[0]: Expected an object."},
      {R"([{"clock":7}])", "[0].clock: Expected an object."},
      {R"([{"clock":{}}])", "[0].clock.epoch: The member is missing."},
      {R"([{"leftOut":0}])", "[0].leftOut: Expected a whole number in range."},
      {R"([{"leftOut":-1}])", "[0].leftOut: Expected a whole number in range."},
      {R"([{"leftOut":1.5}])", "[0].leftOut: Expected a whole number in range."},
      {R"([{"leftOut":1000001}])", "[0].leftOut: Expected a whole number in range."},
      {R"([{"leftOut":"3"}])", "[0].leftOut: Expected a whole number in range."},
  };
  for (const auto& [text, expected] : table) {
    const auto read = readSnapshotMarks(text);
    ASSERT_TRUE(std::holds_alternative<JsonError>(read)) << text;
    EXPECT_EQ(std::get<JsonError>(read).description(), expected) << text;
  }
}

}  // namespace
}  // namespace quillard
