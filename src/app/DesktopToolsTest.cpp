#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <variant>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "app/DesktopTools.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "platform/simulated/SimulatedWorld.h"
#include "recording/RecordedDesktopJson.h"
#include "support/TemporaryFolder.h"

namespace quillard::app {
namespace {

namespace fs = std::filesystem;

class DesktopTools : public testing::Test {
 protected:
  DesktopTools() {
    world.desktop().open(
        {.title = "Erase Ann's disk?", .lines = {"This cannot be undone."}, .buttons = {"Cancel", "Erase"}});
  }
  [[nodiscard]] std::string recorded() const {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{3}};
  const test::TemporaryFolder folder;
  const std::string file = folder.path() + "/desktop.json";
  std::string printed;
  std::string errorText;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errorText += text; }};
};

TEST_F(DesktopTools, ScanTellsOfThePrompt) {
  EXPECT_EQ(scanOnce({}, world.platform(), output), ExitCode::fine);
  EXPECT_EQ(printed.find("PROMPT        \"Erase Ann's disk?\" of Example"), 0U) << printed;
  EXPECT_EQ(errorText, "");
  EXPECT_TRUE(world.console().lines().empty());
}

TEST_F(DesktopTools, ScanReadsAgainWhereAProgramWasSlowAtFirst) {
  const auto slow = world.desktop().launch({.name = "Slow"});
  world.desktop().open(slow, {.title = "Delete it?", .buttons = {"Cancel", "Delete"}});
  world.desktop().hang(slow);
  const auto platform = world.platform();
  const auto revival = platform.executors.mainThread().postAfter(Seconds{0.35}, [&] { world.desktop().unhang(slow); });
  EXPECT_EQ(scanOnce({}, platform, output), ExitCode::fine);
  EXPECT_NE(printed.find("\"Delete it?\" of Slow"), std::string::npos) << printed;
  EXPECT_EQ(printed.find("no answer"), std::string::npos) << printed;
}

TEST_F(DesktopTools, ScanNamesAProgramThatStaysSilent) {
  const auto silent = world.desktop().launch({.name = "Silent"});
  world.desktop().open(silent, {.title = "Delete it?", .buttons = {"Cancel", "Delete"}});
  world.desktop().hang(silent);
  EXPECT_EQ(scanOnce({}, world.platform(), output), ExitCode::fine);
  EXPECT_NE(printed.find("no answer     Silent"), std::string::npos) << printed;
}

TEST_F(DesktopTools, ScanSpeaksJson) {
  EXPECT_EQ(scanOnce({.asJson = true}, world.platform(), output), ExitCode::fine);
  EXPECT_EQ(nlohmann::json::parse(printed).at("windows").at(0).at("accepted"), true);
}

TEST_F(DesktopTools, NeitherWorksWithoutAccessibility) {
  world.desktop().setTrusted(false);
  EXPECT_EQ(scanOnce({}, world.platform(), output), ExitCode::cannotDoHere);
  EXPECT_EQ(recordDesktop({.file = file}, world.platform(), output), ExitCode::cannotDoHere);
  EXPECT_EQ(printed, "");
  EXPECT_NE(errorText.find("quillard doctor"), std::string::npos) << errorText;
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(DesktopTools, RecordWritesAFileThatReadsAgainAndIsTheUsersAlone) {
  ASSERT_EQ(recordDesktop({.file = file}, world.platform(), output), ExitCode::fine) << errorText;
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_TRUE(std::holds_alternative<recording::RecordedDesktop>(recording::readRecordedDesktop(recorded())));
  EXPECT_NE(recorded().find("Erase Ann's disk?"), std::string::npos);
  EXPECT_NE(printed.find("check it before you hand it on"), std::string::npos) << printed;
}

TEST_F(DesktopTools, RecordMasksTextsButNotTheLabelsThatDecide) {
  ASSERT_EQ(recordDesktop({.file = file, .masksTexts = true}, world.platform(), output), ExitCode::fine) << errorText;
  EXPECT_EQ(recorded().find("Ann"), std::string::npos) << recorded();
  EXPECT_EQ(recorded().find("undone"), std::string::npos) << recorded();
  EXPECT_NE(recorded().find("Cancel"), std::string::npos) << recorded();
}

TEST_F(DesktopTools, RecordLeavesOutOtherProgramsOnRequest) {
  const auto other = world.desktop().launch({.name = "Letters", .active = true});
  world.desktop().open(other, {.title = "Dear Ann", .lines = {"Hello"}, .buttons = {"Send", "Cancel"}});
  ASSERT_EQ(recordDesktop({.file = file, .program = "EXAMPLE"}, world.platform(), output), ExitCode::fine) << errorText;
  EXPECT_NE(recorded().find("Erase Ann's disk?"), std::string::npos) << recorded();
  for (const std::string foreign : {"Dear Ann", "Hello", "Letters", "Send"}) {
    EXPECT_EQ(recorded().find(foreign), std::string::npos) << foreign << "\n" << recorded();
  }
  EXPECT_TRUE(std::holds_alternative<recording::RecordedDesktop>(recording::readRecordedDesktop(recorded())));
  EXPECT_EQ(recordDesktop({.file = file + "2", .program = "nothing like it"}, world.platform(), output),
            ExitCode::cannotDoHere);
  EXPECT_FALSE(fs::exists(file + "2"));
}

TEST_F(DesktopTools, RecordReadsAgainAndNamesWhatStayedSilent) {
  const auto slow = world.desktop().launch({.name = "Slow"});
  world.desktop().open(slow, {.title = "Delete it?", .buttons = {"Cancel", "Delete"}});
  world.desktop().hang(slow);
  const auto platform = world.platform();
  {
    const auto revival =
        platform.executors.mainThread().postAfter(Seconds{0.35}, [&] { world.desktop().unhang(slow); });
    ASSERT_EQ(recordDesktop({.file = file}, platform, output), ExitCode::fine) << errorText;
    EXPECT_NE(recorded().find("Delete it?"), std::string::npos);
    EXPECT_EQ(errorText, "");
  }
  world.desktop().hang(slow);
  EXPECT_EQ(recordDesktop({.file = file + "2"}, platform, output), ExitCode::fine);
  EXPECT_EQ(errorText, "Slow did not answer in time: something of it is missing.\n");
}

TEST_F(DesktopTools, RecordMakesNoFileOfADesktopThatItCouldNotSee) {
  world.desktop().setDesktopFailure(platform::DesktopReadFailure::applicationList);
  EXPECT_EQ(recordDesktop({.file = file, .program = "Example"}, world.platform(), output), ExitCode::cannotDoHere);
  EXPECT_NE(errorText.find("Windows may be there all the same."), std::string::npos) << errorText;
  EXPECT_EQ(errorText.find("No such program"), std::string::npos) << errorText;
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(DesktopTools, EveryToolNamesProgramsThatCannotBeRead) {
  world.readableStarts().addEntry("org.example.chat", "Chat");
  world.desktop().addWindowEntry({.ownerProcessIdentifier = 900, .ownerName = "Chat"});
  EXPECT_EQ(scanOnce({}, world.platform(), output), ExitCode::fine);
  EXPECT_NE(printed.find("cannot be read  Chat (process 900)\n    or: quillard readable org.example.chat\n"),
            std::string::npos)
      << printed;
  printed.clear();
  EXPECT_EQ(scanOnce({.asJson = true}, world.platform(), output), ExitCode::fine);
  EXPECT_EQ(nlohmann::json::parse(printed).at("unreadable").at(0).at("startEntry"), "org.example.chat");
  printed.clear();
  EXPECT_EQ(explainWindows({.words = "chat"}, world.platform(), output), ExitCode::fine);
  EXPECT_EQ(printed.find("Chat cannot be read: what its windows ask is not seen."), 0U) << printed;
  world.capabilities().setLimitation(platform::DesktopCapability::windowList, platform::Limitation{"No display."});
  printed.clear();
  EXPECT_EQ(scanOnce({.asJson = true}, world.platform(), output), ExitCode::fine);
  EXPECT_EQ(nlohmann::json::parse(printed).at("unreadableUnknown"), "Not known: No display.");
}

TEST_F(DesktopTools, ExplainSaysWhatDecided) {
  EXPECT_EQ(explainWindows({.words = "erase"}, world.platform(), output), ExitCode::fine);
  EXPECT_NE(printed.find("It is a prompt."), std::string::npos) << printed;
  printed.clear();
  world.setPromptSupplement(linuxPromptSupplement());
  EXPECT_EQ(explainWindows({.words = "erase"}, world.platform(), output), ExitCode::fine);
  EXPECT_NE(printed.find("(question)"), std::string::npos) << printed;
  world.desktop().setTrusted(false);
  EXPECT_EQ(explainWindows({}, world.platform(), output), ExitCode::cannotDoHere);
}

TEST_F(DesktopTools, RecordOverwritesNothing) {
  std::ofstream(file) << "precious";
  EXPECT_EQ(recordDesktop({.file = file}, world.platform(), output), ExitCode::cannotDoHere);
  EXPECT_EQ(recorded(), "precious");
  EXPECT_NE(errorText.find(file), std::string::npos) << errorText;
  fs::remove(file);
  fs::create_symlink(folder.path() + "/elsewhere", file);
  EXPECT_EQ(recordDesktop({.file = file}, world.platform(), output), ExitCode::cannotDoHere);
  EXPECT_FALSE(fs::exists(folder.path() + "/elsewhere"));
}

TEST_F(DesktopTools, RecordSaysThatTheFolderIsNotThere) {
  EXPECT_EQ(recordDesktop({.file = folder.path() + "/no/such/file"}, world.platform(), output), ExitCode::cannotDoHere);
  EXPECT_NE(errorText.find("No such file or directory"), std::string::npos) << errorText;
}

}  // namespace
}  // namespace quillard::app
