#include <array>
#include <ostream>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "detection/ForeignLabel.h"

namespace quillard {

void PrintTo(const JudgedLabel& label, std::ostream* stream) {
  *stream << "'" << label.text << "'" << (label.isSafeDismissal ? ", a safe dismissal" : "");
}

namespace {

using platform::SourceText;

SourceText protectedText(const std::string& text, int count = 1) { return {text, count, count}; }
SourceText ownText(const std::string& text, int count = 1) { return {text, count, 0}; }

constexpr std::array kDismissals{platform::SupplementGroup{"They lose what was changed.", "don't save"}};

LabelSense senseOfLabel(std::string_view label) {
  static const platform::PromptSupplement supplement{.dismissals = kDismissals};
  return senseOf(LabelMeaning{supplement}, label);
}

JudgedLabel judged(const std::string& shown, const std::vector<SourceText>& sources) {
  return judgedLabel(shown, sources, senseOfLabel);
}

TEST(ForeignLabel, IsJudgedByItsEnglishText) {
  EXPECT_EQ(judged("Erlauben", {protectedText("Allow")}), (JudgedLabel{"Allow", false}));
  EXPECT_EQ(judged("Abbrechen", {protectedText("Cancel")}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Später", {protectedText("Later")}), (JudgedLabel{"Later", false}));
  EXPECT_EQ(judged("Nicht speichern", {protectedText("Don't Save")}), (JudgedLabel{"Don't Save", false}));
}

TEST(ForeignLabel, WithoutAnEnglishTextIsJudgedAsItStandsLessItsMarks) {
  EXPECT_EQ(judged("Irgendwas", {}), (JudgedLabel{"Irgendwas", false}));
  EXPECT_EQ(judged("\u200FCancel", {}), (JudgedLabel{"Cancel", false})) << "Marks make no button safe.";
}

// Real: Discard and Deny are the same word in Arabic, Discard and Skip in French, Discard and No in Japanese.
TEST(ForeignLabel, WithARefusingAndAGrantingMeaningHasNone) {
  EXPECT_EQ(judged("ارفض", {protectedText("Deny", 3), protectedText("Discard", 2)}), (JudgedLabel{"ارفض", false}));
  EXPECT_EQ(judged("Ignorer", {protectedText("Skip", 7), protectedText("Discard")}), (JudgedLabel{"Ignorer", false}));
  EXPECT_EQ(judged("無効", {protectedText("No", 90), ownText("Discard")}), (JudgedLabel{"無効", false}));
}

TEST(ForeignLabel, IsNoSafeDismissalWithAMeaningThatLosesSomething) {
  EXPECT_EQ(judged("Nein", {protectedText("No", 5), protectedText("Don't Save")}), (JudgedLabel{"No", false}));
}

TEST(ForeignLabel, IsASafeDismissalOnlyByWhatNoProgramOfTheUserCanWrite) {
  EXPECT_EQ(judged("Erlauben", {ownText("Cancel", 50)}), (JudgedLabel{"Cancel", false}));
  EXPECT_EQ(judged("Abbrechen", {{"Cancel", 50, 1}}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Abbrechen", {{"Cancel", 50, 1}, protectedText("Abort", 2)}), (JudgedLabel{"Cancel", false}));
}

TEST(ForeignLabel, IsASafeDismissalOnlyWhereThatMeaningLeads) {
  EXPECT_EQ(judged("Annuler", {protectedText("Cancel", 3), protectedText("Undo", 1)}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Annuler", {protectedText("Cancel"), protectedText("Undo")}), (JudgedLabel{"Cancel", false}));
  EXPECT_EQ(judged("Annuler", {protectedText("Undo", 2), protectedText("Cancel")}), (JudgedLabel{"Cancel", false}));
  EXPECT_EQ(judged("Annuler", {protectedText("Deny"), protectedText("Cancel"), protectedText("Undo")}).isSafeDismissal,
            true)
      << "Both are safe dismissals.";
}

TEST(ForeignLabel, PrefersWhatTheRulesKnowUnlessItIsAChanceHit) {
  EXPECT_EQ(judged("Entfernen", {protectedText("Remove", 3), protectedText("Delete")}), (JudgedLabel{"Delete", false}));
  EXPECT_EQ(judged("Entfernen", {protectedText("Remove", 5), protectedText("Delete")}), (JudgedLabel{"Remove", false}));
  EXPECT_EQ(judged("Drucken", {protectedText("Print")}), (JudgedLabel{"Print", false}));
}

RC_GTEST_PROP(ForeignLabel, NeverBecomesSafeByAnythingThatAProgramOfTheUserCanWrite, ()) {
  static const std::vector<std::string> texts{"Cancel", "Deny",       "No",    "Later",  "Allow", "Discard", "OK",
                                              "Undo",   "Don't Save", "Abort", "Delete", "Skip",  "Remove",  "Quit"};
  std::vector<SourceText> sources;
  for (const auto& text : texts) {
    const int own = *rc::gen::inRange(0, 4);
    const int safe = *rc::gen::inRange(0, 3);
    if (own + safe > 0) sources.push_back({text, own + safe, safe});
  }
  auto without = sources;
  for (auto& source : without) source.count = source.protectedCount;
  std::erase_if(without, [](const SourceText& source) { return source.count == 0; });
  if (judged("x", sources).isSafeDismissal) {
    RC_ASSERT(judgedLabel("x", without, senseOfLabel).isSafeDismissal);
  }
}

TEST(JudgedLine, IsTheLineAndItsEnglishTexts) {
  EXPECT_EQ(judgedLine("Passwort:", {protectedText("Password:"), ownText("Passphrase:")}),
            "Passwort: Password: Passphrase:");
  EXPECT_EQ(judgedLine("password(P):", {}), "password(P):");
  EXPECT_EQ(judgedLine("パスワード(P):", {protectedText("Password:")}), "パスワード: Password:");
}

}  // namespace
}  // namespace quillard
