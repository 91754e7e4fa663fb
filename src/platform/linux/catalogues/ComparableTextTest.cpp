#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "platform/linux/catalogues/ComparableText.h"

namespace quillard::catalogues {
namespace {

TEST(ComparableText, IsTheSameForWhatIsShownAndWhatStandsInACatalogue) {
  const std::pair<const char*, const char*> pairs[]{
      {"Abbrechen", "_Abbrechen"},
      {"Abbrechen", "A&bbrechen"},
      {"Speichern unter", "Speichern _unter…"},
      {"Speichern unter…", "Speichern _unter..."},
      {"保存(S)", "保存(_S)"},
      {"保存(S)", "保存(&S)"},
      {"保存", "保存(_S)..."},
      {"パスワード(P):", "パスワード(_P):"},
      {"\u200Fإلغاء", "إل_غاء"},
      {"Voulez-vous continuer\u00A0?", "Voulez-vous continuer ?"},
      {"Are you sure? It is gone.", "<b>Are you sure?</b>\n\nIt is   gone."},
      {"One Two", "<p>One</p><p>Two</p>"},
      {"One Two", "One<br/>Two"},
      {"Suchen & Ersetzen", "Suchen &amp; Ersetzen"},
      {"Suchen & Ersetzen", "Suchen && Ersetzen"},
      {"„a“ < \"b\"", "„a“ &lt; &quot;b&quot;"},
      {"saved_files", "saved_files"},
      {"1 < 2 > 0", "1 < 2 > 0"},
  };
  for (const auto& [shown, translation] : pairs) EXPECT_EQ(comparable(shown), comparable(translation)) << translation;
}

TEST(ComparableText, KeepsWhatTellsTextsApart) {
  EXPECT_NE(comparable("Ja"), comparable("ja"));
  EXPECT_NE(comparable("Nein"), comparable("Nein!"));
  EXPECT_NE(comparable("Löschen"), comparable("Loschen"));
  EXPECT_EQ(comparable("A & B"), "A & B");
  EXPECT_EQ(comparable("a_ b"), "a_ b");
}

TEST(ComparableText, OfBytesThatAreNoTextIsThemselves) {
  EXPECT_EQ(comparable("\xFF\xC3"), "\xFF\xC3");
  EXPECT_EQ(comparable("<"), "<");
  EXPECT_EQ(comparable("<b"), "<b");
  EXPECT_EQ(comparable("&"), "&");
  EXPECT_EQ(comparable("_"), "_");
  EXPECT_EQ(comparable(""), "");
  EXPECT_EQ(comparable(" \t\n"), "");
  EXPECT_EQ(comparable("…"), "…");
}

TEST(PlainSource, LosesItsMnemonicAndKeepsItsEllipsisAndPlaceholders) {
  EXPECT_EQ(plainSource("_Save As…"), "Save As…");
  EXPECT_EQ(plainSource("&Open..."), "Open...");
  EXPECT_EQ(plainSource("<big>Delete “%s”?</big>"), "Delete “%s”?");
}

}  // namespace
}  // namespace quillard::catalogues
