#include <gmock/gmock.h>

#include "detection/ForeignTexts.h"
#include "platform/simulated/SimulatedTranslations.h"

namespace quillard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t kProcess = 500;

PromptText asItStands(const std::string& text) { return PromptText::asItStands(text); }

PromptReading dialog(const std::vector<std::string>& labels) {
  PromptReading reading{.content = platform::AXUIElement{nullptr}};
  reading.evidence = {.role = "AXWindow", .subrole = "AXDialog", .isModal = true, .buttonLabels = labels};
  reading.texts.title = asItStands("Frage");
  reading.texts.lines = {asItStands("Sind Sie sicher?")};
  for (const auto& label : labels) reading.texts.labels.push_back(asItStands(label));
  return reading;
}

std::vector<std::string> judgedLabels(const PromptReading& reading) {
  std::vector<std::string> judged;
  for (const auto& label : reading.texts.labels) judged.push_back(label.judged);
  return judged;
}

class ForeignTexts_ : public testing::Test {
 protected:
  PromptReading judge(PromptReading reading) {
    isLookedUp = texts.judge(kProcess, reading);
    return reading;
  }

  platform::simulated::SimulatedTranslations translations;
  const platform::PromptSupplement supplement{};
  const ForeignTexts texts{&translations, supplement};
  bool isLookedUp = false;
};

TEST_F(ForeignTexts_, GiveLabelsTheirMeaningAndLinesAndTitleTheirsBehindThem) {
  translations.teach("Abbrechen", "Cancel");
  translations.teach("Löschen", "Delete");
  translations.teach("Frage", "Question");
  translations.teach("Sind Sie sicher?", "Are you sure?");
  const auto judged = judge(dialog({"Abbrechen", "Löschen", "OK"}));
  EXPECT_THAT(judged.texts.labels, ElementsAre(PromptText{"Abbrechen", "Cancel", true},
                                               PromptText{"Löschen", "Delete", false}, asItStands("OK")));
  EXPECT_TRUE(judged.texts.isWholeMeaning);
  EXPECT_EQ(judged.texts.title, (PromptText{"Frage", "Frage Question"}));
  EXPECT_THAT(judged.texts.lines, ElementsAre(PromptText{"Sind Sie sicher?", "Sind Sie sicher? Are you sure?"}));
  EXPECT_TRUE(isLookedUp);
}

TEST_F(ForeignTexts_, NeverChangeTheMeaningOfALabelThatEnglishKnows) {
  translations.teach("Cancel", "Delete");
  translations.teach("Nein", "No");
  EXPECT_THAT(judgedLabels(judge(dialog({"Cancel", "Nein"}))), ElementsAre("Cancel", "No"));
}

TEST_F(ForeignTexts_, AreAskedOnlyOfDialogsWithALabelThatIsNotUnderstood) {
  (void)judge(dialog({"Cancel", "OK"}));
  (void)judge(dialog({}));
  auto plain = dialog({"Abbrechen"});
  plain.evidence.isModal = false;
  plain.evidence.subrole = "AXStandardWindow";
  (void)judge(plain);
  EXPECT_THAT(translations.requests(), IsEmpty());
  (void)judge(dialog({"Abbrechen", "OK"}));
  EXPECT_THAT(translations.requests(), SizeIs(1));
}

TEST_F(ForeignTexts_, AreAskedOfAllThatTheWindowSaysAtOnce) {
  (void)judge(dialog({"Abbrechen", "OK"}));
  EXPECT_THAT(translations.requests(),
              ElementsAre(platform::TranslationRequest{kProcess, {"Abbrechen", "OK"}, {"Frage", "Sind Sie sicher?"}}));
}

TEST_F(ForeignTexts_, LeaveEverythingToTheLetterWhereTheSystemCannotTell) {
  const auto reading = dialog({"取消(C)", "\u200FOK"});
  EXPECT_EQ(judge(reading).texts, reading.texts);
  EXPECT_TRUE(isLookedUp);
  const ForeignTexts none{nullptr, supplement};
  auto again = reading;
  again.texts.beyond = {asItStands("パスワード(P):")};
  const auto before = again.texts;
  EXPECT_TRUE(none.judge(kProcess, again));
  none.judgeBeyond(kProcess, again);
  EXPECT_EQ(again.texts, before);
}

TEST_F(ForeignTexts_, DropMarksWhereTheSystemCanTellAndMakeNothingSafeByThat) {
  translations.teach("x", "y");
  const auto judged = judge(dialog({"\u200FCancel", "OK"}));
  EXPECT_THAT(judged.texts.labels, ElementsAre(PromptText{"\u200FCancel", "Cancel", false}, asItStands("OK")));
}

TEST_F(ForeignTexts_, AreAskedForWhatIsNotShownInAWindowOfAnyLanguage) {
  translations.teach("Passwort:", "Password:");
  auto reading = dialog({"OK"});
  reading.texts.beyond = {asItStands("Passwort:")};
  texts.judgeBeyond(kProcess, reading);
  EXPECT_THAT(reading.texts.beyond, ElementsAre(PromptText{"Passwort:", "Passwort: Password:"}));
}

TEST_F(ForeignTexts_, AreAskedForTheTitlesOfBoxesInAWindowThatIsNotUnderstood) {
  translations.teach("Immer", "Always");
  auto reading = dialog({"OK"});
  reading.texts.options = {{asItStands("Immer"), BoxState::on}};
  texts.judgeBeyond(kProcess, reading);
  EXPECT_THAT(translations.requests(), IsEmpty());
  reading = dialog({"Erlauben"});
  reading.texts.options = {{asItStands("Immer"), BoxState::on}};
  texts.judgeBeyond(kProcess, reading);
  EXPECT_EQ(reading.texts.options[0].title.judged, "Immer Always");
  EXPECT_EQ(reading.texts.options[0].title.shown, "Immer");
}

// What could not be looked at may be what says that the label grants, or that a password is wanted.
TEST_F(ForeignTexts_, MakeNothingSafeWhereNotEverythingCouldBeLookedAt) {
  translations.teach("Abbrechen", "Cancel");
  for (const bool isComplete : {false, true}) {
    translations.setComplete(isComplete);
    translations.setCutOff(isComplete);
    const auto judged = judge(dialog({"Abbrechen"}));
    EXPECT_EQ(isLookedUp, isComplete) << "What is cut off is known as well as it ever will be.";
    EXPECT_FALSE(judged.texts.isWholeMeaning);
    EXPECT_THAT(judged.texts.labels, ElementsAre(PromptText{"Abbrechen", "Cancel", false}));
  }
}

// Else the phone would say that it can be denied, with no button that denies.
TEST_F(ForeignTexts_, KeepALabelSafeOfWhichNothingIsMissingWhenAnotherTextIsCutOff) {
  translations.teach("Abbrechen", "Cancel");
  translations.teach("Nein", "No");
  translations.cutOff("Sind Sie sicher?");
  translations.cutOff("Nein");
  const auto judged = judge(dialog({"Abbrechen", "Nein"}));
  EXPECT_TRUE(isLookedUp);
  EXPECT_FALSE(judged.texts.isWholeMeaning);
  EXPECT_THAT(judged.texts.labels,
              ElementsAre(PromptText{"Abbrechen", "Cancel", true}, PromptText{"Nein", "No", false}));
}

TEST_F(ForeignTexts_, SayWhenALineHasMoreMeaningsThanAreTaken) {
  for (int i = 0; i < 9; ++i) translations.teach("Sind Sie sicher?", platform::SourceText{std::to_string(i), 1, 0});
  EXPECT_FALSE(judge(dialog({"Abbrechen"})).texts.isWholeMeaning);
  EXPECT_TRUE(isLookedUp);
}

}  // namespace
}  // namespace quillard
