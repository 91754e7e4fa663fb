#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/ScanReport.h"
#include "support/DetectionWorld.h"

namespace quillard::app {
namespace {

WindowDebugSnapshot sampleWindow() {
  return {.appName = "Files",
          .bundleIdentifier = "org.example.files",
          .processIdentifier = 1001,
          .role = "AXWindow",
          .subrole = "AXDialog",
          .title = "Erase disk?",
          .windowFrame = {.x = 40, .y = 60, .width = 320, .height = 140},
          .isModal = true,
          .promptScore = 9,
          .accepted = true,
          .rejectionReason = std::nullopt,
          .messageLines = {"This cannot be undone."},
          .buttonLabels = {"Cancel", "Erase"}};
}

WindowDiagnosis diagnosis(const WindowDebugSnapshot& window) {
  return {.appName = window.appName, .processIdentifier = window.processIdentifier, .snapshot = window};
}

TEST(ScanReport, SaysOfAPromptWhatItShows) {
  EXPECT_EQ(scanText({.windows = {diagnosis(sampleWindow())}}),
            "PROMPT        \"Erase disk?\" of Files (process 1001)\n"
            "    score: 9\n"
            "    window: AXWindow/AXDialog, a dialog, 320 x 140 at 40, 60\n"
            "    texts: \"This cannot be undone.\"\n"
            "    buttons: \"Cancel\", \"Erase\"\n"
            "\n"
            "1 window, 1 prompt.\n");
}

TEST(ScanReport, SaysOfAnyOtherWindowWhyItIsNone) {
  auto window = sampleWindow();
  window.accepted = false;
  window.rejectionReason = "no buttons";
  window.buttonLabels.clear();
  const auto text = scanText({.windows = {diagnosis(window)}});
  EXPECT_EQ(text.find("not a prompt  \"Erase disk?\""), 0U) << text;
  EXPECT_NE(text.find("    why not: no buttons\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("buttons:"), std::string::npos) << text;
  EXPECT_NE(text.find("1 window, 0 prompts."), std::string::npos) << text;
}

TEST(ScanReport, NamesApplicationsThatDidNotAnswer) {
  const std::vector<WindowDiagnosis> windows{{.appName = "Hung", .processIdentifier = 7, .snapshot = std::nullopt},
                                             diagnosis(sampleWindow())};
  EXPECT_EQ(scanText({.windows = windows}).find("no answer     a window of Hung (process 7)\n"), 0U)
      << scanText({.windows = windows});
  const auto report = nlohmann::json::parse(scanJson({.windows = windows}));
  EXPECT_EQ(report.at("unanswered"), nlohmann::json::parse(R"([{"appName":"Hung","processIdentifier":7}])"));
  EXPECT_EQ(report.at("windows").size(), 1U);
}

TEST(ScanReport, IsJsonForPrograms) {
  const auto report = nlohmann::json::parse(scanJson({.windows = {diagnosis(sampleWindow())}}));
  const auto& window = report.at("windows").at(0);
  EXPECT_EQ(window.at("title"), "Erase disk?");
  EXPECT_EQ(window.at("accepted"), true);
  EXPECT_EQ(window.at("buttonLabels"), nlohmann::json({"Cancel", "Erase"}));
  EXPECT_FALSE(window.contains("rejectionReason"));
}

TEST(ScanReport, MakesTextsOfOtherProgramsHarmless) {
  auto window = sampleWindow();
  window.title = "\x1B]0;owned\x07";
  window.messageLines = {"a\nPROMPT  forged"};
  const auto text = scanText({.windows = {diagnosis(window)}});
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_EQ(text.find("\nPROMPT  forged"), std::string::npos) << text;
}

TEST(ScanReport, ToldOfADesktopWithoutWindows) {
  EXPECT_EQ(scanText({}), "No windows.\n");
  EXPECT_EQ(nlohmann::json::parse(scanJson({})),
            nlohmann::json::parse(R"({"windows":[],"unanswered":[],"unreadable":[]})"));
}

TEST(ScanReport, ADesktopThatCouldNotBeReadIsNotTakenForAnEmptyOne) {
  const DesktopDiagnosis diagnosis{.windows = {}, .failure = platform::DesktopReadFailure::applicationList};
  EXPECT_EQ(scanText(diagnosis), "It cannot be told which programs can be read. Windows may be there all the same.\n");
  const auto report = nlohmann::json::parse(scanJson(diagnosis));
  EXPECT_EQ(report["failure"], "It cannot be told which programs can be read.");
}

TEST(ScanReport, TellsOfThePromptsOfASimulatedDesktop) {
  samples::DetectionWorld world;
  const auto files = world.desktop().launch({.name = "Files"});
  world.desktop().open(files,
                       {.title = "Erase disk?", .lines = {"This cannot be undone."}, .buttons = {"Cancel", "Erase"}});
  const auto text = scanText(world.detector.diagnose());
  EXPECT_EQ(text.find("PROMPT        \"Erase disk?\" of Files"), 0U) << text;
}

TEST(ScanReport, NamesAProgramThatDidNotSayWhichWindowsItHas) {
  const DesktopDiagnosis incomplete{.windows = {}, .failure = std::nullopt, .unread = {{"Slow", 7}}};
  EXPECT_EQ(scanText(incomplete), "no answer     Slow (process 7) may have windows\n\n0 windows, 0 prompts.\n");
  EXPECT_EQ(nlohmann::json::parse(scanJson(incomplete)).at("unanswered").at(0).at("appName"), "Slow");
  EXPECT_TRUE(incomplete.isIncomplete());
  EXPECT_FALSE(DesktopDiagnosis{}.isIncomplete());
}

TEST(ScanReport, NamesProgramsThatCannotBeReadAndWhatHelps) {
  EXPECT_EQ(unreadableText({}), "");
  EXPECT_EQ(unreadableText({{12, "Chromium", "Start it with a switch."}, {13, "game", ""}}),
            "cannot be read  Chromium (process 12)\n    what helps: Start it with a switch.\n"
            "cannot be read  game (process 13)\n");
}

TEST(ScanReport, SaysWhatThePhoneShowsAndWhatItMayNotGrant) {
  auto window = diagnosis(sampleWindow());
  window.linesOnPhone = {"This cannot be undone. Really."};
  window.recommendedLabel = "Cancel";
  window.directAccessReason = "It asks for a password.";
  const auto text = scanText({.windows = {window}});
  EXPECT_NE(text.find("    on the phone: \"This cannot be undone. Really.\"\n"
                      "    recommended: \"Cancel\"\n"
                      "    only denied from afar: It asks for a password.\n"),
            std::string::npos)
      << text;
  const auto report = nlohmann::json::parse(scanJson({.windows = {window}})).at("windows").at(0);
  EXPECT_EQ(report.at("linesOnPhone").at(0), "This cannot be undone. Really.");
  EXPECT_EQ(report.at("directAccessReason"), "It asks for a password.");
  window.snapshot->accepted = false;
  EXPECT_EQ(scanText({.windows = {window}}).find("on the phone"), std::string::npos);
}

TEST(ScanReport, NamesASilentProgramOfASimulatedDesktop) {
  samples::DetectionWorld world;
  const auto files = world.desktop().launch({.name = "Files"});
  world.desktop().open(files, {.title = "Erase disk?", .buttons = {"Cancel", "Erase"}});
  world.desktop().hang(files);
  const auto diagnosis = world.detector.diagnose();
  EXPECT_TRUE(diagnosis.isIncomplete());
  EXPECT_NE(scanText(diagnosis).find("no answer     "), std::string::npos) << scanText(diagnosis);
}

}  // namespace
}  // namespace quillard::app
