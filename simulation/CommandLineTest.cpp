#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulation/CommandLine.h"

namespace quillard::simulation {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Printed {
  int status = -1;
  std::vector<std::string> lines;
  std::vector<std::string> warnings;
};

Printed runWith(const std::vector<std::string>& arguments) {
  Printed printed;
  printed.status = run(
      arguments, [&](const std::string& line) { printed.lines.push_back(line); },
      [&](const std::string& line) { printed.warnings.push_back(line); });
  return printed;
}

TEST(SimulateCommandLine, ReadsOneSeedAndHowLongItLasts) {
  const auto read = readCommandLine({"--seed", "42", "--hours", "0.5"});
  const auto* line = std::get_if<CommandLine>(&read);
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->first, 42U);
  EXPECT_EQ(line->last, 42U);
  EXPECT_TRUE(line->tracesOne);
  EXPECT_EQ(line->length, Seconds{1800});
}

TEST(SimulateCommandLine, ReadsARangeOfSeedsWithBothEnds) {
  const auto read = readCommandLine({"--seeds", "10..18446744073709551615"});
  const auto* line = std::get_if<CommandLine>(&read);
  ASSERT_NE(line, nullptr);
  EXPECT_EQ(line->first, 10U);
  EXPECT_EQ(line->last, 18446744073709551615U);
  EXPECT_FALSE(line->tracesOne);
}

TEST(SimulateCommandLine, SaysWhatIsWrongWithEachBadArgument) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> table{
      {{"--sead", "1"}, "There is no option --sead."},
      {{"7"}, "There is no option 7."},
      {{"--seed"}, "--seed needs a value."},
      {{"--seed", "-1"}, "--seed needs a whole number."},
      {{"--seed", "1.5"}, "--seed needs a whole number."},
      {{"--seed", ""}, "--seed needs a whole number."},
      {{"--seed", "18446744073709551616"}, "--seed needs a whole number."},
      {{"--seeds", "5"}, "--seeds needs FROM..TO, such as 1..1000."},
      {{"--seeds", "5..4"}, "--seeds needs FROM..TO, such as 1..1000."},
      {{"--seeds", "..4"}, "--seeds needs FROM..TO, such as 1..1000."},
      {{"--hours", "0"}, "--hours needs a number above 0, and at most 168."},
      {{"--hours", "nan"}, "--hours needs a number above 0, and at most 168."},
      {{"--hours", "inf"}, "--hours needs a number above 0, and at most 168."},
      {{"--hours", "169"}, "--hours needs a number above 0, and at most 168."}};
  for (const auto& [arguments, message] : table) {
    const auto printed = runWith(arguments);
    EXPECT_EQ(printed.status, 2) << message;
    EXPECT_THAT(printed.warnings, ElementsAre(message + " Try --help."));
    EXPECT_THAT(printed.lines, IsEmpty());
  }
}

TEST(SimulateCommandLine, ExplainsItself) {
  const auto printed = runWith({"--help"});
  EXPECT_EQ(printed.status, 0);
  EXPECT_THAT(printed.lines, ElementsAre(HasSubstr("--seed N [--hours H]")));
}

TEST(SimulateCommandLine, PrintsTheTraceOfOneSeedAndASummaryOfMany) {
  const auto one = runWith({"--seed", "3", "--hours", "0.005"});
  EXPECT_EQ(one.status, 0);
  EXPECT_THAT(one.lines, testing::Contains(HasSubstr("agent     starts")));
  const auto many = runWith({"--seeds", "3..4", "--hours", "0.005"});
  EXPECT_EQ(many.status, 0);
  EXPECT_THAT(many.lines, Not(testing::Contains(HasSubstr("agent     starts"))));
  EXPECT_THAT(many.lines.back(), HasSubstr("2 seeds of 18 s each"));
}

}  // namespace
}  // namespace quillard::simulation
