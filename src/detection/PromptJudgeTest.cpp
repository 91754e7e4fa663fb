#include <gtest/gtest.h>

#include "detection/DirectAccess.h"
#include "detection/PromptJudge.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using Lines = std::vector<std::string>;
const platform::PromptSupplement kNone{};

class PromptJudgeTest : public testing::Test {
 protected:
  // A window of one line and these buttons.
  void show(const Lines& lines, const Lines& buttons, const std::string& title = "Title") {
    reading.evidence.subrole = "AXDialog";
    reading.evidence.isModal = true;
    reading.evidence.title = title;
    reading.evidence.messageLines = lines;
    reading.evidence.buttonLabels = buttons;
    reading.texts.title = PromptText::asItStands(title);
    for (const auto& line : lines) reading.texts.lines.push_back(PromptText::asItStands(line));
    for (const auto& label : buttons) {
      reading.texts.labels.push_back(PromptText::asItStands(label));
      reading.buttons.push_back({.label = label, .role = "AXButton", .width = 80, .height = 20});
    }
  }
  [[nodiscard]] JudgedPrompt judged(const platform::PromptSupplement& supplement = linuxPromptSupplement()) const {
    return PromptJudge{supplement}.judge(reading);
  }
  [[nodiscard]] bool accepted(const platform::PromptSupplement& supplement = linuxPromptSupplement()) const {
    return PromptJudge{supplement}.classify(source, reading).accepted;
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  PromptReading reading{.content = world.accessibility().createSystemWide()};
  WindowSource source{.window = reading.content, .appName = "Example", .bundleIdentifier = std::nullopt};
};

TEST_F(PromptJudgeTest, JudgesMeaningsAndShowsWhatStandsThere) {
  show({"Die Kamera verwenden?"}, {"Zulassen", "Ablehnen"});
  reading.texts.title.judged = "Title Title";
  reading.texts.lines[0].judged = "Die Kamera verwenden? Turn on the camera?";
  reading.texts.labels[0].judged = "Allow";
  reading.texts.labels[1].judged = "Reject";
  EXPECT_TRUE(accepted());
  const auto prompt = judged();
  EXPECT_EQ(prompt.lines, Lines{"Die Kamera verwenden?"});
  EXPECT_EQ(prompt.buttons[0].label, "Zulassen");
  EXPECT_EQ(prompt.recommendedLabel, "Zulassen");
  EXPECT_FALSE(prompt.buttons[0].isKnownDismissal);
  EXPECT_TRUE(prompt.buttons[1].isKnownDismissal);
  EXPECT_EQ(prompt.directAccessReason, std::nullopt);
}

TEST_F(PromptJudgeTest, OffersOnlyTheWayOutWhereAButtonIsNotUnderstood) {
  show({"Grokked."}, {"Frobnicate", "Cancel"});
  EXPECT_EQ(judged().directAccessReason, notUnderstoodReason());
  reading.buttons[0].isEnabled = false;
  EXPECT_EQ(judged().directAccessReason, std::nullopt) << "it cannot be pressed anyway";
}

TEST_F(PromptJudgeTest, AsksBothTextsWhetherASecretIsWanted) {
  show({"Passphrase:"}, {"OK", "Cancel"});
  EXPECT_EQ(judged().directAccessReason, secretRequiredReason());
  reading.texts.lines[0].judged = "Hello";
  EXPECT_EQ(judged().directAccessReason, secretRequiredReason()) << "no meaning takes the mark away";
  reading.texts.lines[0] = {.shown = "Losungswort:", .judged = "Password:"};
  EXPECT_EQ(judged().directAccessReason, secretRequiredReason());
  reading.texts.lines[0] = PromptText::asItStands("Hello");
  EXPECT_EQ(judged().directAccessReason, std::nullopt);
  reading.texts.beyond = {PromptText::asItStands("Enter your PIN code")};
  EXPECT_EQ(judged().directAccessReason, secretRequiredReason());
}

TEST_F(PromptJudgeTest, LeavesWhatHasToBeTypedToTheComputer) {
  show({"Hello"}, {"OK", "Cancel"});
  reading.evidence.structure.textFields = 1;
  EXPECT_EQ(judged().directAccessReason, toBeFilledInReason());
  EXPECT_EQ(judged(kNone).directAccessReason, std::nullopt);
  reading.evidence.structure = {.radioButtons = 2};
  EXPECT_EQ(judged().directAccessReason, toBeFilledInReason()) << "what is chosen there is not shown on the phone";
}

TEST_F(PromptJudgeTest, RecommendsNothingWhereABoxMayMeanMore) {
  show({"Go on?"}, {"Yes", "No"});
  EXPECT_EQ(judged().recommendedLabel, "Yes");
  for (const auto& structure : {WindowStructure{.checkBoxes = 1}, WindowStructure{.comboBoxes = 1}}) {
    reading.evidence.structure = structure;
    EXPECT_EQ(judged().recommendedLabel, std::nullopt);
    EXPECT_EQ(judged().directAccessReason, std::nullopt);
    EXPECT_EQ(judged(kNone).recommendedLabel, "Yes") << "the rules that hold everywhere do";
  }
}

TEST_F(PromptJudgeTest, RecommendsNothingWhereSomethingIsAtStake) {
  for (const std::string line :
       {"Delete 3 files?", "The host key is unknown.", "Do you trust it?", "It cannot be undone."}) {
    reading = PromptReading{.content = world.accessibility().createSystemWide()};
    show({line}, {"Yes", "No"});
    EXPECT_EQ(judged().recommendedLabel, std::nullopt) << line;
    EXPECT_EQ(judged(kNone).recommendedLabel, "Yes") << "the rules that hold everywhere do";
  }
  reading = PromptReading{.content = world.accessibility().createSystemWide()};
  show({"Turn on the camera?"}, {"Always Allow", "Allow", "Deny"});
  EXPECT_EQ(judged().recommendedLabel, std::nullopt) << "a button beside it grants for ever";
}

// What is at stake is not known where only the labels are understood.
TEST_F(PromptJudgeTest, RecommendsNothingByAMeaningWhereATextHasNone) {
  show({"Alle Daten werden endgültig gelöscht."}, {"Ja", "Nein"}, "");
  reading.texts.labels[0].judged = "Yes";
  reading.texts.labels[1].judged = "No";
  EXPECT_EQ(judged().recommendedLabel, std::nullopt);
  reading.texts.lines[0] = {.shown = "Die Kamera verwenden?", .judged = "Die Kamera verwenden? Turn on the camera?"};
  EXPECT_EQ(judged().recommendedLabel, "Ja");
  reading.texts.lines[0] = PromptText::asItStands("Do you want to turn on the camera?");
  EXPECT_EQ(judged().recommendedLabel, "Ja") << "what only a prompt says in English";
  reading.texts.title = PromptText::asItStands("Datenverlust");
  EXPECT_EQ(judged().recommendedLabel, std::nullopt) << "of the title";
  reading.texts.title.judged = "Datenverlust Camera";
  EXPECT_EQ(judged().recommendedLabel, "Ja");
  reading.texts.beyond = {PromptText::asItStands("Alle Daten werden endgültig gelöscht.")};
  EXPECT_EQ(judged().recommendedLabel, std::nullopt) << "of a line that is not shown";
}

TEST_F(PromptJudgeTest, RecommendsALabelThatIsEnglishButForItsMarks) {
  show({"Turn on the camera?"}, {"\u200FYes", "\u200FNo"});
  reading.texts.labels[0].judged = "Yes";
  reading.texts.labels[1].judged = "No";
  EXPECT_EQ(judged().recommendedLabel, "\u200FYes");
}

TEST_F(PromptJudgeTest, NeverRecommendsAButtonThatTakesNoPresses) {
  show({"Go on?"}, {"OK", "Yes", "No"});
  reading.buttons[0].isEnabled = false;
  EXPECT_EQ(judged().recommendedLabel, "Yes");
  EXPECT_EQ(judged(kNone).recommendedLabel, "Yes");
}

TEST_F(PromptJudgeTest, SaysNothingTwice) {
  show({"Unlock  keyring", "Password", "It is locked.", "Password:"}, {"OK", "Cancel"}, "Unlock keyring");
  EXPECT_EQ(judged().lines, (Lines{"Password:", "It is locked."}));
  EXPECT_EQ(judged(kNone).lines, (Lines{"Unlock  keyring", "Password", "It is locked.", "Password:"}));
}

TEST_F(PromptJudgeTest, ShowsATitleThatIsAllThereIs) {
  show({"Sure?"}, {"Yes", "No"}, "Sure?");
  EXPECT_EQ(judged().lines, Lines{"Sure?"});
}

TEST_F(PromptJudgeTest, KnowsTheServicesOfTheDesktopByName) {
  show({"Something"}, {"Frobnicate", "Grok"});
  EXPECT_FALSE(accepted());
  source.appName = "polkit-gnome-authentication-agent-1";
  EXPECT_TRUE(accepted());
  EXPECT_FALSE(accepted(kNone));
  source.appName = "Agent";
  source.bundleIdentifier = "org.freedesktop.impl.XDG-Desktop-Portal.desktop.gtk";
  EXPECT_TRUE(accepted());
}

TEST_F(PromptJudgeTest, CanOnlyBeDeniedWhereNotEverythingThatItMeansIsKnown) {
  show({"Weiter?"}, {"Erlauben", "Cancel"});
  reading.texts.lines[0].judged = "Weiter? Go on?";
  reading.texts.labels[0].judged = "Allow";
  EXPECT_EQ(judged().directAccessReason, std::nullopt);
  reading.texts.isWholeMeaning = false;
  EXPECT_EQ(judged().directAccessReason, unreadableTextReason());
  EXPECT_EQ(judged().recommendedLabel, std::nullopt);
}

TEST_F(PromptJudgeTest, ShowsWhetherBoxesAreOnAndWhatMenusAreSetTo) {
  show({"Let it film?", "Camera", "Tell me"}, {"Allow", "Deny"});
  reading.texts.options = {{PromptText::asItStands("Remember this decision"), BoxState::on},
                           {PromptText::asItStands("Tell me"), BoxState::off},
                           {PromptText::asItStands("All of these"), BoxState::mixed},
                           {PromptText::asItStands("Which"), std::nullopt, true, "Front"},
                           {PromptText::asItStands(""), BoxState::on},
                           {PromptText::asItStands("Details"), BoxState::off}};
  EXPECT_EQ(judged().options, (Lines{"☑ Remember this decision", "☐ Tell me", "◪ All of these", "▾ Which: Front"}));
  EXPECT_EQ(judged().lines, (Lines{"Let it film?", "Camera"})) << "nothing is said twice";
  EXPECT_EQ(judged().directAccessReason, std::nullopt);
  EXPECT_EQ(judged(kNone).lines, (Lines{"Let it film?", "Camera", "Tell me"}));
  EXPECT_EQ(judged(kNone).options, Lines{});
}

TEST_F(PromptJudgeTest, CanOnlyBeDeniedWhereAMenuDoesNotSayWhatItIsSetTo) {
  show({"Let it film?"}, {"Allow", "Deny"});
  reading.texts.options = {{PromptText::asItStands("Camera"), std::nullopt, true}};
  EXPECT_EQ(judged().directAccessReason, toBeFilledInReason());
}

TEST_F(PromptJudgeTest, TakesPercentagesForProgressOnlyWhereNothingIsAsked) {
  const PromptJudge judge{linuxPromptSupplement()};
  const auto showLines = [&](const Lines& lines) {
    reading.texts = {};
    reading.buttons.clear();
    show(lines, {"Go on", "Cancel"});
  };
  showLines({"Copied 10 %"});
  EXPECT_FALSE(judge.mayShowProgress(reading));
  reading.evidence.structure.progressBars = 1;
  EXPECT_TRUE(judge.mayShowProgress(reading));
  for (const std::string question : {"Do you really want to transfer?", "本当に？", "هل تريد؟", "Σίγουρα\u037E"}) {
    showLines({"Share: 10 %", question});
    EXPECT_FALSE(judge.mayShowProgress(reading)) << question;
  }
  showLines({"Share: 10 %", "Do you really want to transfer it"});
  EXPECT_FALSE(judge.mayShowProgress(reading)) << "a question by its words";
  showLines({"Share: 10 %", "Wirklich senden"});
  EXPECT_TRUE(judge.mayShowProgress(reading));
  reading.texts.lines[1].judged += " Are you sure";
  EXPECT_FALSE(judge.mayShowProgress(reading)) << "by its English meaning";
}

TEST_F(PromptJudgeTest, TellsTheHazardOfABoxOfALabelAndOfAnEnglishMeaning) {
  const PromptJudge judge{linuxPromptSupplement()};
  show({"Let it film?"}, {"Allow", "Deny"});
  EXPECT_EQ(judge.hazard(reading), std::nullopt);
  reading.texts.options = {{PromptText::asItStands("Immer erlauben"), BoxState::on}};
  EXPECT_EQ(judge.hazard(reading), std::nullopt);
  reading.texts.options[0].title.judged += " Always allow";
  ASSERT_TRUE(judge.hazard(reading));
  EXPECT_EQ(judge.hazard(reading)->words, "always");
  reading.texts.options.clear();
  reading.texts.labels[0].alsoMeans = "Delete";
  ASSERT_TRUE(judge.hazard(reading));
  EXPECT_EQ(judge.hazard(reading)->reason, "Something is destroyed, or may be.");
  EXPECT_EQ(judged().recommendedLabel, std::nullopt);
  EXPECT_EQ(PromptJudge{kNone}.hazard(reading), std::nullopt);
}

}  // namespace
}  // namespace quillard
