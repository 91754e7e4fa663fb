#include <gtest/gtest.h>

#include "app/ExplainReport.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "support/DetectionWorld.h"

namespace quillard::app {
namespace {

class ExplainReport : public testing::Test {
 protected:
  std::string explained(const std::string& words = "", const platform::PromptSupplement& supplement = {}) {
    auto dependencies = world.dependencies;
    dependencies.supplement = supplement;
    DialogDetector detector{samples::DetectionWorld::kOwnProcess, world.suppressionStore, dependencies};
    return explainText(detector.diagnose(), words);
  }

  samples::DetectionWorld world;
};

TEST_F(ExplainReport, SaysWhichSignDecidedAndWhatWouldHaveToBeDifferent) {
  world.desktop().open({.title = "Frob", .lines = {"Grokked."}, .buttons = {"Frobnicate", "Cancel"}});
  EXPECT_EQ(
      explained("", linuxPromptSupplement()),
      "\"Frob\" of Example (process 1001)\n"
      "    It is a prompt. A way out stands beside something to decide, and nothing has to be filled in. (question)\n"
      "    To be judged otherwise: It would have to show no known way out, or hold something to fill in.\n"
      "    made of: blocks its program\n"
      "    button \"Cancel\": a safe way out\n"
      "    button \"Frobnicate\": not understood\n"
      "    from afar: it can only be dismissed. Not every button of this dialog is understood, so it can only be "
      "dismissed remotely. Answer it at the computer.\n\n");
}

TEST_F(ExplainReport, NamesTheSignsThatWereNotAskedAnyMore) {
  world.desktop().open({.title = "Name",
                        .lines = {"What is it called?"},
                        .buttons = {"OK", "Cancel"},
                        .extra = {{.role = "AXTextField", .frame = Rect{20, 20, 80, 20}}}});
  const auto text = explained("", linuxPromptSupplement());
  EXPECT_NE(text.find("It is no prompt. It is a form: something has to be typed into it. (form-with-fields)"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("also for it: A way out stands beside something to decide"), std::string::npos) << text;
  EXPECT_NE(text.find("made of: blocks its program, fields for text: 1"), std::string::npos) << text;
}

TEST_F(ExplainReport, NamesWhatIsAtStakeBoxesIncluded) {
  world.desktop().open({.title = "Camera",
                        .lines = {"Let it film?"},
                        .buttons = {"Allow", "Cancel"},
                        .extra = {{.role = "AXCheckBox", .title = "Remember this", .frame = Rect{20, 20, 80, 20}}}});
  const auto text = explained("", linuxPromptSupplement());
  EXPECT_NE(text.find("    at stake: it says \"remember\". It is granted for ever, or to whoever asks.\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(text.find("Recommended"), std::string::npos) << text;
}

TEST_F(ExplainReport, GivesTheReasonOfTheWordsWhereWindowsAreJudgedByThemAlone) {
  world.desktop().open({.title = "Frob", .lines = {"Grokked."}, .buttons = {"Frobnicate", "Cancel"}});
  EXPECT_NE(explained().find("It is no prompt. Not actionable enough: role=AXWindow"), std::string::npos)
      << explained();
}

TEST_F(ExplainReport, ShowsOnlyTheWindowsThatAreAskedAbout) {
  world.desktop().open({.title = "Erase the disk?", .buttons = {"Erase", "Cancel"}});
  world.desktop().open({.title = "Something else", .buttons = {"OK"}});
  const auto text = explained("ERASE", linuxPromptSupplement());
  EXPECT_NE(text.find("\"Erase the disk?\""), std::string::npos) << text;
  EXPECT_EQ(text.find("Something else"), std::string::npos) << text;
  EXPECT_EQ(explained("nothing like it"), "No such window.\n");
}

TEST_F(ExplainReport, MakesTextsOfOtherProgramsHarmless) {
  world.desktop().open({.title = "\x1B[2J", .buttons = {"\x1B]0;x\x07", "Cancel"}});
  EXPECT_EQ(explained("", linuxPromptSupplement()).find('\x1B'), std::string::npos);
}

}  // namespace
}  // namespace quillard::app
