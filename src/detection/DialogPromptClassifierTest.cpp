#include <set>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "click/semantics/DialogButtonSemantics.h"
#include "detection/DialogPromptClassifier.h"

namespace quillard {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kNoButtons = "No actionable buttons exposed through Accessibility.";
constexpr const char* kRejectedForButtons = "Too many buttons; likely a normal application window.";
constexpr const char* kSettingsApp = "Ordinary System Settings windows are not approval prompts.";
constexpr const char* kSettingsTitle = "Ordinary settings and preferences windows are not approval prompts.";
constexpr const char* kChrome = "Window has navigation or settings chrome and is not modal.";

DialogPromptClassification classify(const DialogPromptEvidence& evidence) {
  return DialogPromptClassifier::classify(evidence);
}

Lines distinctLabels(int count) {
  Lines labels;
  for (int i = 0; i < count; ++i) labels.push_back("Button " + std::to_string(i));
  return labels;
}

DialogPromptEvidence dialog() { return {.role = "AXWindow", .subrole = "AXDialog", .isModal = true}; }
DialogPromptEvidence plainWindow() { return {.role = "AXWindow", .subrole = "AXStandardWindow"}; }

// A plain window that is a prompt by its words and buttons.
DialogPromptEvidence plainPrompt() {
  auto evidence = plainWindow();
  evidence.title = "Notes";
  evidence.messageLines = {"Notes would like to access your files."};
  evidence.buttonLabels = {"OK", "Don't Allow"};
  return evidence;
}

// ---- The decision, rule by rule

TEST(Classify, RejectsAWindowWithoutButtonsWhateverElseItShows) {
  auto evidence = dialog();
  evidence.title = "Permission";
  evidence.messageLines = {"Are you sure?"};
  evidence.isKnownPromptService = true;
  EXPECT_EQ(classify(evidence).rejectionReason, kNoButtons);
  EXPECT_FALSE(classify(evidence).accepted);
}

TEST(Classify, RejectsThirteenButtonsAndMoreCountingEachOne) {
  auto evidence = dialog();
  evidence.messageLines = {"permission"};
  evidence.buttonLabels = Lines(13, "OK");
  EXPECT_EQ(classify(evidence).rejectionReason, kRejectedForButtons);
  evidence.buttonLabels = Lines(12, "OK");
  EXPECT_NE(classify(evidence).rejectionReason, kRejectedForButtons);
}

TEST(Classify, RejectsWindowsOfTheSettingsApplication) {
  for (const auto* identifier : {"com.apple.systempreferences", "com.apple.SystemSettings"}) {
    auto evidence = plainPrompt();
    evidence.bundleIdentifier = identifier;
    EXPECT_EQ(classify(evidence).rejectionReason, kSettingsApp);
    evidence.isModal = true;
    EXPECT_TRUE(classify(evidence).accepted) << "its dialogs are prompts like others";
  }
}

TEST(Classify, RejectsSettingsWindowsByTheirTitleEvenIfTheirTextSaysPermission) {
  auto evidence = plainWindow();
  evidence.messageLines = {"Ask for permission"};
  evidence.buttonLabels = {"OK", "Cancel"};
  for (const auto* title : {"Wi-Fi Settings", "Settings", "  PREFERENCES ", "Mail Preferences", "Wi-Fi \n settings"}) {
    evidence.title = title;
    EXPECT_EQ(classify(evidence).rejectionReason, kSettingsTitle) << title;
  }
  for (const auto* title : {"Reset Settings?", "Wi-FiSettings", "Settings for Mail", "Setting"}) {
    evidence.title = title;
    EXPECT_TRUE(classify(evidence).accepted) << title;
  }
}

TEST(Classify, RejectsPlainWindowsWithNavigation) {
  auto evidence = plainPrompt();
  evidence.hasNavigationChrome = true;
  EXPECT_EQ(classify(evidence).rejectionReason, kChrome);
  evidence.subrole = "AXDialog";
  EXPECT_TRUE(classify(evidence).accepted);
}

TEST(Classify, RejectsDialogsOfSevenToTwelveButtons) {
  for (int count = 7; count <= 12; ++count) {
    auto evidence = dialog();
    evidence.title = "Permission";
    evidence.isKnownPromptService = true;
    evidence.buttonLabels = distinctLabels(count);
    EXPECT_EQ(classify(evidence).rejectionReason, "Not actionable enough: role=AXWindow, subrole=AXDialog, buttons=" +
                                                      std::to_string(count) + ", textLines=1.");
  }
  auto evidence = dialog();
  evidence.title = "Permission";
  evidence.buttonLabels = distinctLabels(6);
  EXPECT_TRUE(classify(evidence).accepted);
}

TEST(Classify, AcceptsASheetWithAPairedChoiceAndNoPhrase) {
  const DialogPromptEvidence evidence{
      .role = "AXSheet", .messageLines = {"Notes is asking."}, .buttonLabels = {"Allow", "Don’t Allow"}};
  EXPECT_EQ(classify(evidence), (DialogPromptClassification{true, 16, std::nullopt}));
}

TEST(Classify, AcceptsADialogOnAnyOneSignOfAPrompt) {
  const auto accepts = [](const DialogPromptEvidence& evidence) { return classify(evidence).accepted; };
  auto evidence = dialog();
  evidence.buttonLabels = {"Details"};
  EXPECT_FALSE(accepts(evidence));
  auto service = evidence;
  service.isKnownPromptService = true;
  EXPECT_TRUE(accepts(service)) << "from a known prompt service, with one unrecognised button";
  auto phrase = evidence;
  phrase.messageLines = {"It won’t run."};
  EXPECT_TRUE(accepts(phrase));
  auto paired = evidence;
  paired.buttonLabels = {"Details", "Skip", "Save"};
  EXPECT_TRUE(accepts(paired));
  auto single = evidence;
  single.buttonLabels = {"Quit", " QUIT "};
  EXPECT_TRUE(accepts(single)) << "one label, however often";
  auto settings = evidence;
  settings.title = "Privacy & Security";
  settings.buttonLabels = {"Open Settings", "Details"};
  EXPECT_TRUE(accepts(settings));
  settings.title = "Elsewhere";
  EXPECT_FALSE(accepts(settings));
}

TEST(Classify, AcceptsAPlainWindowOnlyWithPhraseAndButtonsBoth) {
  EXPECT_TRUE(classify(plainPrompt()).accepted);
  auto evidence = plainPrompt();
  evidence.messageLines = {"Notes is asking."};
  EXPECT_FALSE(classify(evidence).accepted) << "no phrase";
  evidence.isKnownPromptService = true;
  EXPECT_FALSE(classify(evidence).accepted) << "a prompting service does not stand in for the phrase";
  evidence = plainPrompt();
  evidence.buttonLabels = {"Details", "More"};
  EXPECT_FALSE(classify(evidence).accepted) << "no prompt's buttons";
  evidence = plainPrompt();
  evidence.messageLines = Lines(10, "permission");
  EXPECT_FALSE(classify(evidence).accepted) << "eleven lines with the title";
  evidence.title = "";
  EXPECT_TRUE(classify(evidence).accepted) << "ten lines";
  EXPECT_EQ(classify(plainWindow()).rejectionReason, kNoButtons);
}

TEST(Classify, AcceptsAPlainWindowThatWouldLikeToAccessWithTwoLines) {
  const DialogPromptEvidence evidence{.role = "AXWindow",
                                      .messageLines = {"Notes would like to access", "your contacts."},
                                      .buttonLabels = {"OK", "Don't Allow"}};
  EXPECT_TRUE(classify(evidence).accepted);
}

TEST(Classify, SaysWhatItCountedWhenThereIsNotEnough) {
  auto evidence = plainWindow();
  evidence.title = " ";
  evidence.messageLines = {"One", "Two"};
  evidence.buttonLabels = {"More"};
  EXPECT_EQ(classify(evidence).rejectionReason,
            "Not actionable enough: role=AXWindow, subrole=AXStandardWindow, buttons=1, textLines=3.");
  EXPECT_EQ(classify({.buttonLabels = {"More"}}).rejectionReason,
            "Not actionable enough: role=, subrole=, buttons=1, textLines=0.");
}

TEST(Classify, IsDialogLikeByModalSubroleOrRole) {
  for (const auto& evidence : {DialogPromptEvidence{.isModal = true}, DialogPromptEvidence{.subrole = "AXDialog"},
                               DialogPromptEvidence{.role = "AXSheet"}}) {
    auto withButton = evidence;
    withButton.buttonLabels = {"OK"};
    EXPECT_TRUE(classify(withButton).accepted);
  }
  EXPECT_FALSE(classify({.role = "AXWindow", .subrole = "AXSystemDialog", .buttonLabels = {"OK"}}).accepted);
}

TEST(Classify, FindsLabelsWhateverTheirCaseAndWhiteSpace) {
  auto evidence = dialog();
  evidence.buttonLabels = {"  Always \t\n Allow  "};
  EXPECT_TRUE(classify(evidence).accepted);
}

TEST(Classify, FindsPhrasesAcrossTitleAndLines) {
  auto evidence = dialog();
  evidence.title = "Save";
  evidence.messageLines = {"  CHANGES  before closing"};
  evidence.buttonLabels = {"Details"};
  EXPECT_TRUE(classify(evidence).accepted) << "\"save changes\" stands across the two";
}

// ---- Every word of the lists

class Phrase : public testing::TestWithParam<const char*> {};

TEST_P(Phrase, MakesAPromptOfADialog) {
  auto evidence = dialog();
  evidence.buttonLabels = {"Details"};
  ASSERT_FALSE(classify(evidence).accepted);
  evidence.messageLines = {std::string("It says ") + GetParam() + " somewhere."};
  EXPECT_TRUE(classify(evidence).accepted);
}

INSTANTIATE_TEST_SUITE_P(Table, Phrase,
                         testing::Values("would like to access", "wants access", "permission", "grant access",
                                         "access files", "access your", "password", "keychain", "are you sure",
                                         "you can't undo", "you can’t undo", "permanently", "erase", "delete",
                                         "empty bin", "empty trash", "replace", "discard", "won't run", "won’t run",
                                         "ready to install", "ready to use", "install and relaunch",
                                         "downloaded and is ready", "save changes", "unsaved"));

class SingleLabel : public testing::TestWithParam<const char*> {};

TEST_P(SingleLabel, MakesAPromptOfADialogByItself) {
  auto evidence = dialog();
  evidence.buttonLabels = {GetParam()};
  EXPECT_TRUE(classify(evidence).accepted);
  EXPECT_EQ(classify(evidence).score, 4 + 2 + 3 + 2);
}

INSTANTIATE_TEST_SUITE_P(Table, SingleLabel,
                         testing::Values("ok", "allow", "always allow", "continue", "yes", "empty bin", "empty trash",
                                         "delete", "erase", "replace", "discard", "save", "install",
                                         "install and relaunch", "relaunch", "restart", "open system settings",
                                         "open settings", "quit", "don't save", "don’t save"));

TEST(Classify, DoesNotTakeACancelLabelAloneForAPrompt) {
  for (const auto* label : {"Cancel", "Not Now", "Later", "Don't Install", "Install on Quit"}) {
    auto evidence = dialog();
    evidence.buttonLabels = {label};
    EXPECT_FALSE(classify(evidence).accepted) << label;
  }
}

TEST(Classify, PairsEveryConfirmingLabelWithEveryCancellingOne) {
  Lines confirming(DialogButtonSemantics::confirmActionLabels().begin(),
                   DialogButtonSemantics::confirmActionLabels().end());
  confirming.insert(confirming.end(), {"open system settings", "open settings", "quit", "don't save", "don’t save"});
  for (const auto& confirm : confirming) {
    for (const auto& cancel : DialogButtonSemantics::cancelActionLabels()) {
      auto evidence = dialog();
      evidence.buttonLabels = {confirm, cancel, "Details"};
      EXPECT_TRUE(classify(evidence).accepted) << confirm << ", " << cancel;
      EXPECT_EQ(classify(evidence).score, 4 + 2 + 4 + 4) << confirm << ", " << cancel;
    }
  }
}

class SettingsContext : public testing::TestWithParam<const char*> {};

TEST_P(SettingsContext, MakesAPromptTogetherWithAButtonThatOpensSettings) {
  auto evidence = dialog();
  evidence.buttonLabels = {"Open System Settings", "Details"};
  ASSERT_FALSE(classify(evidence).accepted);
  evidence.messageLines = {std::string("Go to ") + GetParam() + "."};
  EXPECT_TRUE(classify(evidence).accepted);
}

INSTANTIATE_TEST_SUITE_P(Table, SettingsContext,
                         testing::Values("System Settings", "Privacy & Security", "Privacy and Security",
                                         "Accessibility Settings"));

// ---- The score

struct ScoreRow {
  const char* what;
  DialogPromptEvidence evidence;
  int score;
};

TEST(Score, IsTheSumOfItsTerms) {
  const ScoreRow rows[]{
      {"nothing", {}, 0},
      {"dialog", {.role = "AXSheet"}, 4},
      {"buttons in range", {.buttonLabels = distinctLabels(1)}, 2},
      {"six buttons", {.buttonLabels = distinctLabels(6)}, 2},
      {"seven buttons", {.buttonLabels = distinctLabels(7)}, 0},
      {"text in range", {.title = "Hello"}, 2},
      {"ten lines", {.messageLines = Lines(10, "x")}, 2},
      {"eleven lines", {.messageLines = Lines(11, "x")}, 0},
      {"title and ten lines", {.title = "Hello", .messageLines = Lines(10, "x")}, 0},
      {"known service", {.isKnownPromptService = true}, 4},
      {"single high signal", {.buttonLabels = {"Quit"}}, 2 + 3 + 2},
      {"pair", {.buttonLabels = {"Quit", "Later"}}, 2 + 4 + 4},
      {"three labels", {.buttonLabels = {"Quit", "Later", "Don't Install"}}, 2 + 4 + 6},
      {"four labels are worth three", {.buttonLabels = {"Quit", "Later", "Don't Install", "Skip"}}, 2 + 4 + 6},
      {"a doubled label counts once", {.buttonLabels = {"Later", "LATER"}}, 2 + 2},
      {"settings", {.title = "System Settings", .buttonLabels = {"Open Settings", "x"}}, 2 + 2 + 4 + 2},
      {"one phrase however often", {.messageLines = {"erase erase", "erase"}}, 2 + 2},
      {"four phrases", {.messageLines = {"erase delete replace discard"}}, 2 + 8},
      {"five phrases are worth four", {.messageLines = {"erase delete replace discard unsaved"}}, 2 + 8},
  };
  for (const auto& [what, evidence, score] : rows) EXPECT_EQ(classify(evidence).score, score) << what;
}

TEST(Score, IsGivenWithEveryOutcome) {
  auto evidence = dialog();
  evidence.title = "Permission";
  EXPECT_EQ(classify(evidence).score, 4 + 2 + 2);
  EXPECT_FALSE(classify(evidence).accepted);
}

// ---- Against the decision table, written out a second time in the plainest way

struct Facts {
  bool dialogLike;
  bool settingsApp;
  bool settingsTitle;
  bool chrome;
  bool service;
  bool phrase;
  int signal;  // 0 none, 1 paired choice, 2 single label, 3 settings.
  int buttons;
  bool textInRange;
};

DialogPromptEvidence evidenceOf(const Facts& facts) {
  DialogPromptEvidence evidence{.role = "AXWindow"};
  evidence.isModal = facts.dialogLike;
  if (facts.settingsApp) evidence.bundleIdentifier = "com.apple.systemsettings";
  evidence.title = facts.settingsTitle ? "Mail Settings" : "Mail";
  evidence.hasNavigationChrome = facts.chrome;
  evidence.isKnownPromptService = facts.service;
  if (facts.phrase) evidence.messageLines.emplace_back("unsaved");
  evidence.messageLines.emplace_back(facts.signal == 3 ? "privacy and security" : "hello");
  if (!facts.textInRange) evidence.messageLines.resize(20, "filler");
  if (facts.signal == 2) {
    evidence.buttonLabels = Lines(static_cast<std::size_t>(facts.buttons), "Quit");
  } else {
    evidence.buttonLabels = distinctLabels(facts.buttons);
    if (facts.signal == 1 && facts.buttons >= 2) evidence.buttonLabels[0] = "Save", evidence.buttonLabels[1] = "Skip";
    if (facts.signal == 3 && facts.buttons >= 1) evidence.buttonLabels[0] = "Open Settings";
  }
  return evidence;
}

bool expectedVerdict(const Facts& facts) {
  bool signal = facts.signal != 0;
  if (facts.signal == 1 && facts.buttons < 2) signal = false;
  if (facts.signal == 3 && facts.buttons < 1) signal = false;
  if (facts.signal == 3 && facts.buttons == 1) signal = true;  // It is the only label, too.
  if (facts.buttons == 0 || facts.buttons >= 7) return false;
  if (facts.dialogLike) return facts.service || facts.phrase || signal;
  if (facts.settingsApp || facts.settingsTitle || facts.chrome) return false;
  return facts.textInRange && facts.phrase && signal;
}

TEST(Classify, AgreesWithTheDecisionTableInEveryCombination) {
  int accepted = 0;
  for (int bits = 0; bits < 128; ++bits) {
    const auto bit = [&](int index) { return (bits >> index & 1) != 0; };
    for (int signal = 0; signal <= 3; ++signal) {
      for (int buttons = 0; buttons <= 14; ++buttons) {
        const Facts facts{bit(0), bit(1), bit(2), bit(3), bit(4), bit(5), signal, buttons, bit(6)};
        const auto verdict = classify(evidenceOf(facts));
        ASSERT_EQ(verdict.accepted, expectedVerdict(facts)) << bits << " " << signal << " " << buttons;
        ASSERT_EQ(verdict.rejectionReason.has_value(), !verdict.accepted);
        accepted += verdict.accepted ? 1 : 0;
      }
    }
  }
  EXPECT_GT(accepted, 0);
}

RC_GTEST_PROP(Classify, NeverAcceptsWithoutAButton, (const std::string& title, const Lines& lines)) {
  auto evidence = dialog();
  evidence.title = title;
  evidence.messageLines = lines;
  evidence.isKnownPromptService = true;
  RC_ASSERT(!classify(evidence).accepted);
}

}  // namespace
}  // namespace quillard
