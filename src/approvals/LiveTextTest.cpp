#include <gtest/gtest.h>

#include "approvals/LiveText.h"

namespace quillard {
namespace {

using LiveText::isSameLabel;
using LiveText::isSameText;
using LiveText::Progress;
using LiveText::steady;
using LiveText::steadyLabel;

TEST(LiveText, LeavesTimesOutOfWhatIdentifiesAPrompt) {
  for (const auto& [one, other] : std::vector<std::pair<std::string, std::string>>{
           {"The session ends in 60 seconds.", "The session ends in 1 second."},
           {"It restarts in 1 minute and 5 seconds", "It restarts in 59 seconds"},
           {"Reverting in 0:59", "Reverting in 0:01"},
           {"Noch 12 Sekunden", "Noch 1 Sekunde"},
           {"あと10秒です", "あと9秒です"},
           {"Pozostało 5 sekund", "Pozostało 2 sekundy"}}) {
    EXPECT_EQ(steady(one), steady(other)) << one;
  }
}

TEST(LiveText, LeavesPercentagesOutOnlyBesideAProgressIndicatorAndInATextThatAsksNothing) {
  for (const auto& [one, other] :
       std::vector<std::pair<std::string, std::string>>{{"45 % done", "100 % done"},
                                                        {"Copying… 43%", "Copying… 46.5%"},
                                                        {"Kopiert: 5 Prozent, 5 %", "Kopiert: 5 Prozent, 6 %"}}) {
    EXPECT_EQ(steady(one, Progress::shown), steady(other, Progress::shown)) << one;
    EXPECT_NE(steady(one), steady(other)) << one;
  }
  for (const auto& [one, other] :
       std::vector<std::pair<std::string, std::string>>{{"Pay 10 %?", "Pay 90 %?"},
                                                        {"支払いますか？ 10 %", "支払いますか？ 90 %"},
                                                        {"هل تدفع 10 %؟", "هل تدفع 90 %؟"}}) {
    EXPECT_NE(steady(one, Progress::shown), steady(other, Progress::shown)) << one;
    EXPECT_FALSE(isSameText(one, other, Seconds{3600}, Progress::shown)) << one;
  }
}

TEST(LiveText, TakesAPercentageForProgressOnlyIfItRoseByStepsThatProgressTakes) {
  const auto isProgress = [](const std::string& shown, const std::string& now, double passed) {
    return isSameText(shown, now, Seconds{passed}, Progress::shown);
  };
  EXPECT_TRUE(isProgress("43 % of 3 files", "44 % of 3 files", 1));
  EXPECT_TRUE(isProgress("Copying… 10 %", "Copying… 40 %", 2)) << "ten points for each of three seconds";
  EXPECT_FALSE(isProgress("Copying… 10 %", "Copying… 40.5 %", 2));
  EXPECT_TRUE(isProgress("150 %, 9 seconds left", "150 %, 8 seconds left", 1)) << "it has not moved";
  EXPECT_FALSE(isProgress("Copying… 44 %", "Copying… 43 %", 10)) << "progress never falls";
  EXPECT_FALSE(isProgress("It grows to 100 %", "It grows to 101 %", 10));
  EXPECT_FALSE(isProgress("43 % of 3 files", "44 % of 4 files", 1));
  EXPECT_FALSE(isSameText("43 % of 3 files", "44 % of 3 files", Seconds{1})) << "no progress indicator";
}

TEST(LiveText, KeepsWhatAPromptIsAbout) {
  for (const auto& [one, other] :
       std::vector<std::pair<std::string, std::string>>{{"Pay 10 €?", "Pay 1000 €?"},
                                                        {"Pay 10 %?", "Pay 90 %?"},
                                                        {"Delete 3 files?", "Delete 300 files?"},
                                                        {"Format /dev/sda1?", "Format /dev/sda2?"},
                                                        {"Connect to 10.0.0.1:22?", "Connect to 10.0.0.2:22?"},
                                                        {"The size is 4 MB", "The size is 5 MB"},
                                                        {"Version 2 s3", "Version 3 s3"},
                                                        {"Trust 12:34:56:78:9a:bc?", "Trust 12:34:56:78:9a:bd?"},
                                                        {"The key 5 stays", "The key 6 stays"}}) {
    EXPECT_NE(steady(one), steady(other)) << one;
  }
}

TEST(LiveText, IsTheTextItselfWhereNothingRuns) {
  for (const std::string text : {"", "Allow it?", "Delete 3 files?", "10.0.0.1:22", "%", "5"})
    EXPECT_EQ(steady(text), text);
}

TEST(LiveText, TakesATextForTheSameOnlyIfItsTimesMovedWithTheClock) {
  EXPECT_TRUE(isSameText("Ends in 60 seconds", "Ends in 31 seconds", Seconds{29}));
  EXPECT_TRUE(isSameText("Ends in 60 seconds", "Ends in 51 seconds", Seconds{4})) << "five seconds more are allowed";
  EXPECT_FALSE(isSameText("Ends in 60 seconds", "Ends in 50 seconds", Seconds{4}));
  EXPECT_TRUE(isSameText("Waiting for 3 seconds", "Waiting for 9 seconds", Seconds{6})) << "some count up";
  EXPECT_FALSE(isSameText("Allow for 10 minutes?", "Allow for 10 hours?", Seconds{60}));
  EXPECT_FALSE(isSameText("Allow for 10 minutes?", "Allow for 60 minutes?", Seconds{60}));
  EXPECT_FALSE(isSameText("Ends in 60 seconds", "Starts in 59 seconds", Seconds{1}));
  EXPECT_FALSE(isSameText("Ends in 60 seconds", "Ends in 5 %", Seconds{60}));
}

TEST(LiveText, TakesAClockThatWasSetBackForNoTimeAtAll) {
  EXPECT_TRUE(isSameText("Ends in 60 seconds", "Ends in 57 seconds", Seconds{-3600}));
  EXPECT_FALSE(isSameText("Ends in 60 seconds", "Ends in 40 seconds", Seconds{-3600}));
}

TEST(LiveText, LetsATimeInWholeMinutesFallByOneAtATick) {
  EXPECT_TRUE(isSameText("Ends in 59 minutes", "Ends in 58 minutes", Seconds{2}));
  EXPECT_TRUE(isSameText("Ends in 1 hour", "Ends in 59 minutes", Seconds{2}));
  EXPECT_FALSE(isSameText("Ends in 59 minutes", "Ends in 57 minutes", Seconds{2}));
  EXPECT_FALSE(isSameText("Allow for 5 minutes?", "Allow for 6 minutes?", Seconds{2}));
  EXPECT_FALSE(isSameText("Allow for 2 hours?", "Allow for 1 hour?", Seconds{2}));
  EXPECT_FALSE(isSameText("Ends in 2 minutes 30 seconds", "Ends in 1 minute 30 seconds", Seconds{2}));
}

TEST(LiveText, KnowsTheLabelOfACountingButton) {
  EXPECT_TRUE(isSameLabel("Restart (9)", "Restart (8)", Seconds{1}));
  EXPECT_TRUE(isSameLabel("Keep (12 s)", "Keep (3 s)", Seconds{9}));
  EXPECT_TRUE(isSameLabel("Keep (2 seconds)", "Keep (1 second)", Seconds{1}));
  EXPECT_FALSE(isSameLabel("Restart (9)", "Install (8)", Seconds{1}));
  EXPECT_FALSE(isSameLabel("Restart (9)", "Restart", Seconds{9})) << "which of two buttons that is, is unknown";
  EXPECT_FALSE(isSameLabel("Restart (9)", "Restart (8 s)", Seconds{1}));
  EXPECT_EQ(steadyLabel("Restart (9)"), steadyLabel("Restart (8)"));
  EXPECT_EQ(steadyLabel("Keep (12 s)"), steadyLabel("Keep (3 s)"));
  EXPECT_EQ(steadyLabel("Allow"), "Allow");
  EXPECT_EQ(steadyLabel("(3)"), "(3)");
}

TEST(LiveText, TakesACountingButtonForTheSameOnlyIfItCountedDownWithTheClock) {
  EXPECT_TRUE(isSameLabel("Restart (60)", "Restart (45)", Seconds{10}));
  EXPECT_FALSE(isSameLabel("Restart (60)", "Restart (44)", Seconds{10}));
  EXPECT_FALSE(isSameLabel("Restart (8)", "Restart (9)", Seconds{10})) << "it never rises";
  EXPECT_FALSE(isSameLabel("Delete (3)", "Delete (5000)", Seconds{36000}));
  EXPECT_TRUE(isSameLabel("Restart (60)", "Restart (57)", Seconds{-3600}));
  EXPECT_FALSE(isSameLabel("Restart (60)", "Restart (40)", Seconds{-3600}));
  EXPECT_TRUE(isSameLabel("Restart (130)", "Restart (10)")) << "how long it was is unknown";
  EXPECT_FALSE(isSameLabel("Restart (130)", "Restart (9)"));
  EXPECT_FALSE(isSameLabel("Restart (8)", "Restart (9)"));
}

TEST(LiveText, ComparesAllElseOfALabelExactly) {
  for (const auto& [one, other] :
       std::vector<std::pair<std::string, std::string>>{{"Allow for 5 minutes", "Allow for 100 hours"},
                                                        {"Allow for 5 minutes", "Allow for 4 minutes"},
                                                        {"Pay 10 %", "Pay 90 %"},
                                                        {"Pay (90 %)", "Pay (10 %)"},
                                                        {"Wait (5 minutes)", "Wait (4 minutes)"},
                                                        {"Delete 4", "Delete 3"},
                                                        {"Wait 5 s (9)", "Wait 4 s (9)"},
                                                        {"Go (2) (9)", "Go (1) (9)"},
                                                        {"Go (9000000000001)", "Go (9000000000000)"}}) {
    EXPECT_FALSE(isSameLabel(one, other, Seconds{3600})) << one;
    EXPECT_FALSE(isSameLabel(one, other)) << one;
    EXPECT_NE(steadyLabel(one), steadyLabel(other)) << one;
  }
}

TEST(LiveText, SurvivesAnyBytes) {
  for (const auto& text : {std::string("1\xC2"), std::string("9:9:9:9"), std::string("12:"), std::string("5 \xE2\x80"),
                           std::string(5000, '7') + " s", std::string("\xFF 5 s \xFF")}) {
    EXPECT_FALSE(isSameText(text, text + " 5 s", Seconds{0}));
    EXPECT_FALSE(isSameLabel(text, text + " (5 s)"));
    EXPECT_LE(steady(text).size(), text.size());
  }
}

}  // namespace
}  // namespace quillard
