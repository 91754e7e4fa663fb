#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/DoctorReport.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;

const std::vector<DoctorCheck> kMixed{
    {.id = "install", .title = "Installation", .state = State::fine, .detail = "/opt/Quillard.app", .remedy = {}},
    {.id = "tray", .title = "Tray", .state = State::note, .detail = "No tray.", .remedy = "Start one."},
    {.id = "relay", .title = "Relay", .state = State::problem, .detail = "None is set.", .remedy = "Set one."},
};

TEST(DoctorReport, SaysForEachThingHowItIsAndWhatToDo) {
  EXPECT_EQ(doctorText(kMixed),
            "  ok     Installation      /opt/Quillard.app\n"
            " note    Tray              No tray.\n"
            "                           -> Start one.\n"
            "PROBLEM  Relay             None is set.\n"
            "                           -> Set one.\n"
            "\n"
            "There is 1 problem.\n");
}

TEST(DoctorReport, CountsProblems) {
  EXPECT_NE(doctorText({kMixed[0], kMixed[1]}).find("Everything that the agent needs is there."), std::string::npos);
  EXPECT_NE(doctorText({kMixed[2], kMixed[2]}).find("There are 2 problems."), std::string::npos);
}

TEST(DoctorReport, EndsWithAnExitCodeThatTellsOfProblemsAlone) {
  EXPECT_EQ(exitCode({}), ExitCode::fine);
  EXPECT_EQ(exitCode({kMixed[0], kMixed[1]}), ExitCode::fine);
  EXPECT_EQ(exitCode(kMixed), ExitCode::problemFound);
}

TEST(DoctorReport, IsJsonForPrograms) {
  const auto report = nlohmann::json::parse(doctorJson(kMixed, "1.2"));
  EXPECT_EQ(report.at("version"), "1.2");
  EXPECT_EQ(report.at("state"), "problem");
  ASSERT_EQ(report.at("checks").size(), 3U);
  EXPECT_EQ(report.at("checks")[0],
            nlohmann::json(
                {{"id", "install"}, {"title", "Installation"}, {"state", "fine"}, {"detail", "/opt/Quillard.app"}}));
  EXPECT_EQ(report.at("checks")[2].at("remedy"), "Set one.");
  EXPECT_EQ(nlohmann::json::parse(doctorJson({kMixed[0], kMixed[1]}, "")).at("state"), "note");
  EXPECT_EQ(nlohmann::json::parse(doctorJson({kMixed[0]}, "")).at("state"), "fine");
}

TEST(DoctorReport, MakesTextsOfOtherProgramsHarmless) {
  const std::vector<DoctorCheck> checks{
      {.id = "x", .title = "X", .state = State::note, .detail = "a\x1B[31m\nb", .remedy = "c\xFF"}};
  const auto text = doctorText(checks);
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_NE(text.find("a?[31m?b"), std::string::npos) << text;
  EXPECT_EQ(nlohmann::json::parse(doctorJson(checks, "")).at("checks")[0].at("remedy"), "c?");
}

}  // namespace
}  // namespace quillard::app
