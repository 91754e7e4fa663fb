#include <algorithm>

#include <gtest/gtest.h>

#include "click/semantics/DialogButtonSemantics.h"

namespace quillard::DialogButtonSemantics {
namespace {

struct LabelRow {
  const char* label;
  bool safeDismissal;
  bool cancel;
  bool confirm;
  bool prompt;
  bool recommended;
};

// Every label that the vocabulary knows, and what it means.
constexpr LabelRow kVocabulary[]{
    // label                  safe   cancel confirm prompt recommended
    {"cancel", true, true, false, true, false},
    {"deny", true, true, false, true, false},
    {"don’t allow", true, true, false, true, false},
    {"don't allow", true, true, false, true, false},
    {"not now", true, true, false, true, false},
    {"no", true, true, false, true, false},
    {"later", false, true, false, true, false},
    {"skip", false, true, false, true, false},
    {"ok", false, false, true, true, true},
    {"allow", false, false, true, true, true},
    {"always allow", false, false, true, true, true},
    {"continue", false, false, true, true, true},
    {"yes", false, false, true, true, true},
    {"empty bin", false, false, true, true, false},
    {"empty trash", false, false, true, true, false},
    {"delete", false, false, true, true, false},
    {"erase", false, false, true, true, false},
    {"replace", false, false, true, true, false},
    {"discard", false, false, true, true, false},
    {"save", false, false, true, true, false},
    {"install", false, false, true, true, false},
    {"install and relaunch", false, false, true, true, false},
    {"relaunch", false, false, true, true, false},
    {"restart", false, false, true, true, false},
    {"open system settings", false, false, false, true, true},
    {"open settings", false, false, false, true, true},
    {"quit", false, false, false, true, false},
    {"don't save", false, false, false, true, false},
    {"don’t save", false, false, false, true, false},
    {"install on quit", false, false, false, true, false},
    {"don't install", false, false, false, true, false},
    {"don’t install", false, false, false, true, false},
};

TEST(Vocabulary, MeansWhatTheTableSays) {
  for (const auto& row : kVocabulary) {
    EXPECT_EQ(isSafeDismissal(row.label), row.safeDismissal) << row.label;
    EXPECT_EQ(isCancelAction(row.label), row.cancel) << row.label;
    EXPECT_EQ(isConfirmAction(row.label), row.confirm) << row.label;
    EXPECT_EQ(isPromptButton(row.label), row.prompt) << row.label;
    EXPECT_EQ(recommendedLabels().contains(row.label), row.recommended) << row.label;
  }
}

TEST(Vocabulary, KnowsNothingBeyondTheTable) {
  const auto count = [](bool LabelRow::*member) {
    return static_cast<std::size_t>(std::count_if(std::begin(kVocabulary), std::end(kVocabulary),
                                                  [&](const LabelRow& row) { return row.*member; }));
  };
  EXPECT_EQ(safeDismissalLabels().size(), count(&LabelRow::safeDismissal));
  EXPECT_EQ(cancelActionLabels().size(), count(&LabelRow::cancel));
  EXPECT_EQ(confirmActionLabels().size(), count(&LabelRow::confirm));
  EXPECT_EQ(promptButtonLabels().size(), count(&LabelRow::prompt));
  EXPECT_EQ(recommendedLabels().size(), count(&LabelRow::recommended));
}

TEST(Normalized, FoldsWhiteSpaceAndCaseAndNothingElse) {
  EXPECT_EQ(normalized("  Don't\n  Allow "), "don't allow");
  EXPECT_EQ(normalized("Allow…"), "allow…");
  EXPECT_FALSE(recommendedLabels().contains(normalized("Allow…")));
}

TEST(Meaning, IsAskedOfTheNormalisedLabel) {
  EXPECT_TRUE(isConfirmAction("  ALWAYS \t Allow"));
  EXPECT_TRUE(isSafeDismissal("Don’t\u00A0Allow"));
  EXPECT_FALSE(isSafeDismissal("Don`t Allow"));
  EXPECT_FALSE(isPromptButton(""));
}

TEST(Meaning, OfPuttingOffIsCancelButNoSafeDismissal) {
  for (const auto* label : {"Later", "Skip"}) {
    EXPECT_TRUE(isCancelAction(label));
    EXPECT_FALSE(isSafeDismissal(label));
  }
}

TEST(RecommendedButton, IsTheFirstInThePromptsOrderThatQualifies) {
  EXPECT_EQ(recommendedButton({"Don’t Allow", "OK"}), "OK");
  EXPECT_EQ(recommendedButton({"OK", "Allow"}), "OK");
  EXPECT_EQ(recommendedButton({"Allow", "OK"}), "Allow");
  EXPECT_EQ(recommendedButton({"Cancel", "Quit"}), std::nullopt);
  EXPECT_EQ(recommendedButton({}), std::nullopt);
}

TEST(RecommendedButton, IsGivenAsShown) { EXPECT_EQ(recommendedButton({" Always  ALLOW"}), " Always  ALLOW"); }

}  // namespace
}  // namespace quillard::DialogButtonSemantics
