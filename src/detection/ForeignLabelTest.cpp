#include <algorithm>
#include <array>
#include <ostream>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "detection/ForeignLabel.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

namespace quillard {

void PrintTo(const JudgedLabel& label, std::ostream* stream) {
  *stream << "'" << label.text << "'" << (label.isSafeDismissal ? ", a safe dismissal" : "");
}

namespace {

using platform::SourceText;

SourceText protectedText(const std::string& text, int count = 1) { return {text, count, count}; }
SourceText ownText(const std::string& text, int count = 1) { return {text, count, 0}; }

constexpr std::array kActions{platform::SupplementGroup{"They do what they say.", "stop|print"}};
constexpr std::array kDismissals{platform::SupplementGroup{"They lose what was changed.", "don't save"}};

LabelSense senseOfLabel(std::string_view label) {
  static const platform::PromptSupplement supplement{.dismissals = kDismissals, .actions = kActions};
  return senseOf(LabelMeaning{supplement}, label);
}

// But for what it may mean besides.
JudgedLabel judged(const std::string& shown, const std::vector<SourceText>& sources,
                   const LabelSenseOf& senseOf = senseOfLabel) {
  auto label = judgedLabel(shown, sources, senseOf);
  label.alsoMeans.clear();
  return label;
}

// By the words of a real desktop.
JudgedLabel judgedOnLinux(const std::string& shown, const std::vector<SourceText>& sources) {
  return judged(shown, sources,
                [](std::string_view label) { return senseOf(LabelMeaning{linuxPromptSupplement()}, label); });
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

// Real: Stop and Cancel are the same word in German, and five of Qt's own messages of six are Cancel.
TEST(ForeignLabel, WithARefusalAndAnotherActionMeansWhatMostMessagesSay) {
  EXPECT_EQ(judged("Abbrechen", {protectedText("Cancel", 5), protectedText("Stop")}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Abbrechen", {protectedText("Cancel", 4), protectedText("Stop")}),
            (JudgedLabel{"Abbrechen", false}));
  EXPECT_EQ(judged("Abbrechen", {protectedText("Stop", 5), protectedText("Cancel")}), (JudgedLabel{"Stop", false}));
}

TEST(ForeignLabel, HasNoneEitherWhereItGrantsInTheWordsOfTheDesktop) {
  for (const std::string grant : {"Grant Access", "Accept", "Share", "Trust", "Unlock", "I agree", "Remove"}) {
    EXPECT_EQ(judgedOnLinux("Wort", {protectedText("Cancel", 5), protectedText(grant)}), (JudgedLabel{"Wort", false}))
        << grant;
  }
  for (const std::string other : {"Stop", "Print", "Undo"}) {
    EXPECT_EQ(judgedOnLinux("Wort", {protectedText("Cancel", 5), protectedText(other)}), (JudgedLabel{"Cancel", true}))
        << other;
  }
}

// Real: in German, eleven of twelve messages are Discard.
TEST(ForeignLabel, GrantsWhereARefusalIsAChanceHit) {
  EXPECT_EQ(judged("Verwerfen", {protectedText("Discard", 11), protectedText("Cancel")}),
            (JudgedLabel{"Discard", false}));
  EXPECT_EQ(judged("Verwerfen", {protectedText("Cancel", 11), protectedText("Discard")}),
            (JudgedLabel{"Verwerfen", false}));
}

TEST(ForeignLabel, IsNoSafeDismissalWhereThoseThatLoseSomethingAreAsMany) {
  EXPECT_EQ(judged("Nein", {protectedText("No"), protectedText("Don't Save")}), (JudgedLabel{"Don't Save", false}));
  EXPECT_EQ(judged("Nein", {protectedText("No", 3), protectedText("Don't Save")}), (JudgedLabel{"No", true}));
}

TEST(ForeignLabel, IsASafeDismissalOnlyByWhatNoProgramOfTheUserCanWrite) {
  EXPECT_EQ(judged("Erlauben", {ownText("Cancel", 50)}), (JudgedLabel{"Cancel", false}));
  EXPECT_EQ(judged("Abbrechen", {{"Cancel", 50, 1}}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Abbrechen", {{"Cancel", 50, 1}, protectedText("Abort", 2)}), (JudgedLabel{"Cancel", false}));
}

TEST(ForeignLabel, BecomesNoSafeDismissalByMessagesOfTheUsersOwnBesideProtectedOnes) {
  const auto deny = protectedText("Deny");
  const auto no = protectedText("No");
  const auto later = protectedText("Later", 2);
  EXPECT_EQ(judged("Wort", {later, protectedText("Cancel"), deny, no}), (JudgedLabel{"Later", false}));
  EXPECT_EQ(judged("Wort", {{"Cancel", 4, 1}, later, deny, no}), (JudgedLabel{"Cancel", false}));
  const auto stop = protectedText("Stop");
  EXPECT_EQ(judged("Wort", {protectedText("Cancel", 4), stop}), (JudgedLabel{"Wort", false}));
  EXPECT_EQ(judged("Wort", {{"Cancel", 5, 4}, stop}), (JudgedLabel{"Cancel", false}));
}

TEST(ForeignLabel, IsASafeDismissalOnlyWhereThatMeaningLeads) {
  EXPECT_EQ(judged("Halt", {protectedText("Cancel", 3), protectedText("Abort")}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Halt", {protectedText("Cancel"), protectedText("Abort")}), (JudgedLabel{"Cancel", false}));
  EXPECT_EQ(judged("Halt", {protectedText("Cancel"), protectedText("Later")}), (JudgedLabel{"Later", false}));
  EXPECT_EQ(judged("Halt", {protectedText("Abort", 2), protectedText("Cancel")}), (JudgedLabel{"Cancel", false}));
  EXPECT_TRUE(judged("Halt", {protectedText("Deny"), protectedText("Cancel"), protectedText("Abort")}).isSafeDismissal)
      << "Two of three are.";
  EXPECT_FALSE(
      judged("Halt", {protectedText("Cancel", 2), protectedText("Abort"), protectedText("Break")}).isSafeDismissal)
      << "Two of four are.";
}

TEST(ForeignLabel, OfEquallyManyMessagesMeansWhatMayDoMoreInWhateverOrderTheyCome) {
  std::vector<SourceText> tie{protectedText("Cancel", 3), protectedText("Later", 3), protectedText("Deny")};
  for (int order = 0; order < 3; ++order) {
    EXPECT_EQ(judged("Wort", tie), (JudgedLabel{"Later", false}));
    std::rotate(tie.begin(), tie.begin() + 1, tie.end());
  }
  EXPECT_EQ(judged("Wort", {protectedText("Cancel", 3), protectedText("No", 3)}), (JudgedLabel{"Cancel", true}))
      << "Either is safe.";
}

// What is at stake is asked about all that a label may mean.
TEST(ForeignLabel, TellsWhatItMayMeanBesides) {
  const auto also = [](const std::vector<SourceText>& sources) {
    return judgedLabel("Wort", sources, senseOfLabel).alsoMeans;
  };
  EXPECT_EQ(also({protectedText("Allow", 3), protectedText("Always Allow", 3)}), "Always Allow");
  EXPECT_EQ(also({protectedText("Allow", 9), protectedText("All of it")}), "") << "a chance hit";
  EXPECT_EQ(also({protectedText("Allow", 9), protectedText("Delete")}), "Delete") << "it grants, and counts";
  EXPECT_EQ(also({protectedText("Cancel", 3)}), "");
}

// Real: all of Qt's own texts in French that are called like this, but for one, are Undo.
TEST(ForeignLabel, IsNoLessASafeDismissalBesideUndo) {
  EXPECT_EQ(judged("Annuler", {protectedText("Undo", 7), protectedText("Cancel")}), (JudgedLabel{"Cancel", true}));
  EXPECT_EQ(judged("Annuler", {protectedText("Undo", 7)}), (JudgedLabel{"Undo", false}));
  EXPECT_EQ(judged("Annuler", {protectedText("Undo", 7), protectedText("Delete")}), (JudgedLabel{"Delete", false}));
}

TEST(ForeignLabel, PrefersWhatTheRulesKnowUnlessItIsAChanceHit) {
  EXPECT_EQ(judged("Entfernen", {protectedText("Remove", 3), protectedText("Delete")}), (JudgedLabel{"Delete", false}));
  EXPECT_EQ(judged("Entfernen", {protectedText("Remove", 5), protectedText("Delete")}), (JudgedLabel{"Remove", false}));
  EXPECT_EQ(judged("Drucken", {protectedText("Print")}), (JudgedLabel{"Print", false}));
}

RC_GTEST_PROP(ForeignLabel, NeverBecomesSafeByAnythingThatAProgramOfTheUserCanWrite, ()) {
  static const std::vector<std::string> texts{"Cancel",  "Deny", "No",     "Later",      "Allow",
                                              "Discard", "OK",   "Undo",   "Don't Save", "Abort",
                                              "Delete",  "Skip", "Remove", "Quit",       "Stop"};
  std::vector<SourceText> sources;
  for (const auto& text : texts) {
    const int own = *rc::gen::element(0, 0, 1, 3, 50);
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
            (JudgedLine{"Passwort: Password: Passphrase:", true}));
  EXPECT_EQ(judgedLine("password(P):", {}), (JudgedLine{"password(P):", true}));
  EXPECT_EQ(judgedLine("パスワード(P):", {protectedText("Password:")}), (JudgedLine{"パスワード: Password:", true}));
}

TEST(JudgedLine, LosesNoProtectedTextToAnyNumberOfOthers) {
  std::vector<SourceText> sources;
  for (int i = 0; i < 8; ++i) sources.push_back(ownText("Name " + std::to_string(i) + ":", 50));
  sources.push_back(protectedText("Password:"));
  EXPECT_EQ(judgedLine("Wort:", sources),
            (JudgedLine{"Wort: Password: Name 0: Name 1: Name 2: Name 3: Name 4: Name 5: Name 6: Name 7:", true}));
}

TEST(JudgedLine, SaysWhenItHasMoreTextsThanAreTaken) {
  const auto manyOf = [](SourceText (*make)(const std::string&, int), int count) {
    std::vector<SourceText> sources;
    for (int i = 0; i < count; ++i) sources.push_back(make("Text " + std::to_string(i), 1));
    return sources;
  };
  EXPECT_TRUE(judgedLine("Wort:", manyOf(ownText, 8)).isWhole);
  EXPECT_FALSE(judgedLine("Wort:", manyOf(ownText, 9)).isWhole);
  EXPECT_TRUE(judgedLine("Wort:", manyOf(protectedText, 64)).isWhole);
  EXPECT_FALSE(judgedLine("Wort:", manyOf(protectedText, 65)).isWhole);
}

}  // namespace
}  // namespace quillard
