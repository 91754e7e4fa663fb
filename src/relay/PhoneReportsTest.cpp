#include <chrono>

#include <gtest/gtest.h>

#include "foundation/Text.h"
#include "relay/PhoneReports.h"
#include "relay/RelayCommands.h"

namespace quillard {
namespace {

const Date kNow{std::chrono::sys_days{std::chrono::year{2026} / 3 / 1}};

SuppressionReports suppressions() {
  return {.kinds = {{.suppressionID = Uuid::fromRandomBytes({1}),
                     .appName = "Installer",
                     .windowTitle = "Install?",
                     .since = kNow,
                     .until = kNow + std::chrono::hours{24}},
                    {.suppressionID = Uuid::fromRandomBytes({2}),
                     .appName = "",
                     .windowTitle = "",
                     .since = kNow,
                     .endsWithRun = true}},
          .leftOut = 3};
}

LogExcerpt excerpt() {
  return {.head = {.sequence = 9, .digest = std::string(64, 'a'), .at = kNow},
          .entries = {{.sequence = 8,
                       .digest = std::string(64, 'b'),
                       .at = kNow,
                       .event = "outcome",
                       .approvalID = Uuid::fromRandomBytes({3}),
                       .decisionID = "d",
                       .appName = "Installer",
                       .windowTitle = "Install?",
                       .buttonLabel = "Install",
                       .status = "accepted",
                       .phones = {"Ana"}},
                      {.sequence = 9, .digest = std::string(64, 'a'), .at = kNow, .event = "gone"}}};
}

template <class Record>
void expectReadAsWritten(const Record& record) {
  const auto read = readRelayCommand<Record>(toJson(record).dump());
  ASSERT_TRUE(std::holds_alternative<Record>(read)) << std::get<JsonError>(read).description();
  EXPECT_EQ(std::get<Record>(read), record);
}

TEST(PhoneReports, AreReadAsTheyWereWritten) {
  const ClockStamp stamp{.epoch = Uuid::fromRandomBytes({4}), .time = std::chrono::milliseconds{5}};
  expectReadAsWritten(ComputerState{.isPaused = false, .suppressions = suppressions()});
  expectReadAsWritten(ComputerState{.isPaused = true, .suppressions = SuppressionReports{}});
  expectReadAsWritten(ClockCommand{.clock = stamp, .reports = {.suppressions = suppressions(), .log = excerpt()}});
  expectReadAsWritten(ApprovalResultCommand{
      .approvalID = Uuid::fromRandomBytes({5}), .buttonLabel = "OK", .status = "accepted", .logHead = excerpt().head});
}

TEST(PhoneReports, AreLeftOutWhereThereIsNothingToSay) {
  const ClockStamp stamp{.epoch = Uuid{}, .time = std::chrono::milliseconds{5}};
  EXPECT_EQ(toJson(ClockCommand{.clock = stamp}).size(), 1U);
  EXPECT_EQ(toJson(ComputerState{}).size(), 1U);
}

TEST(PhoneReports, ThatAreMalformedAreNotRead) {
  for (const char* const members :
       {R"("suppressions":1)", R"("suppressions":[1])", R"("suppressions":[{}])",
        R"("suppressions":[{"suppressionID":"1","appName":"","windowTitle":"","since":"2026-03-01T00:00:00Z"}])",
        R"("suppressions":[],"suppressionsLeftOut":-1)"}) {
    const auto text = std::string(R"({"isPaused":false,)") + members + "}";
    EXPECT_TRUE(std::holds_alternative<JsonError>(readRelayCommand<ComputerState>(text))) << text;
  }
  for (const char* const log : {"1", "{}", R"({"head":{"sequence":-1,"digest":""},"entries":[]})",
                                R"({"head":{"sequence":1,"digest":""},"entries":[{"sequence":0}]})"}) {
    const auto text =
        R"({"clock":{"epoch":"01000000-0000-4000-8000-000000000000","time":1},"log":)" + std::string(log) + "}";
    EXPECT_TRUE(std::holds_alternative<JsonError>(readRelayCommand<ClockCommand>(text))) << text;
  }
}

TEST(PhoneReports, ASuppressionMayLastAYearAndADay) {
  const auto read = [](const std::string& lasts) {
    return readRelayCommand<ApprovalSuppressionCommand>(
        R"({"action":"suppress","suppressionID":"01000000-0000-4000-8000-000000000000","lasts":)" + lasts + "}");
  };
  EXPECT_EQ(std::get<ApprovalSuppressionCommand>(read("86400")).lasts, 86400);
  EXPECT_EQ(std::get<ApprovalSuppressionCommand>(read("null")).lasts, std::nullopt);
  for (const char* const lasts : {"-1", "1.5", "31622401", "\"1\"", "true"}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(read(lasts))) << lasts;
  }
}

TEST(PhoneReports, TextsAreCutBetweenCharacters) {
  std::string text;
  while (text.size() < 500) text += "ä€😀";
  EXPECT_LE(reportedText(text).size(), kLongestReportedText + 3);
  EXPECT_TRUE(text::isValidUtf8(reportedText(text)));
  EXPECT_EQ(reportedText("short"), "short");
  EXPECT_EQ(reportedText("\xff"), "");
}

}  // namespace
}  // namespace quillard
