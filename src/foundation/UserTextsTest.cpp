#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "foundation/UserTexts.h"

namespace quillard {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

const UserTexts kMac;
const UserTexts kComputer{Machine::computer, Language::english};
const UserTexts kGerman{Machine::computer, Language::german};

TEST(UserTexts, SayWhatTheMachineIs) {
  EXPECT_EQ(kMac("Your Mac needs approval."), "Your Mac needs approval.");
  EXPECT_EQ(kComputer("Your Mac needs approval."), "This computer needs an answer.");
  EXPECT_EQ(kComputer("All OK"), "All OK") << "One text serves both.";
  EXPECT_EQ(kGerman("Cancel"), "Abbrechen");
}

TEST(UserTexts, PutValuesInAsTheyAre) {
  EXPECT_EQ(kMac("Paired %1, %2.", {"%2", "b"}), "Paired %2, b.");
  EXPECT_EQ(kGerman("%1 asks", {"Größe %1"}), "Größe %1 fragt");
  EXPECT_EQ(kMac("%1 asks", {}), "%1 asks");
}

TEST(UserTexts, OfOtherPartsStandAsTheyAreWhenUnknown) {
  EXPECT_EQ(kGerman.ofOther("Off"), "Aus");
  EXPECT_EQ(kGerman.ofOther("Nothing in the catalogue says so."), "Nothing in the catalogue says so.");
  EXPECT_EQ(kGerman.ofOther(""), "");
}

TEST(UserTexts, OfOtherPartsKeepTheValuesThatStandInThem) {
  EXPECT_EQ(kGerman.ofOther("The entry of Chat cannot be changed safely."),
            "Der Eintrag von Chat lässt sich nicht sicher ändern.");
  EXPECT_EQ(kGerman.ofOther("The file /a: b cannot be made: No space left."),
            "Die Datei /a: b lässt sich nicht anlegen: No space left.");
  EXPECT_EQ(kGerman.ofOther("The file %2 cannot be deleted: busy."), "Die Datei %2 lässt sich nicht löschen: busy.");
  const auto whole = kMac("You have an entry of your own for %1, which stays as it is: %2. Add %3 to its line Exec.",
                          {"A", "/b", "-c"});
  EXPECT_EQ(kMac.ofOther(whole), whole);
  EXPECT_EQ(kGerman.ofOther(whole),
            "Sie haben einen eigenen Eintrag für A, der bleibt, wie er ist: /b. Ergänzen Sie -c in seiner Zeile Exec.");
}

TEST(UserTexts, OfOtherPartsSayAReasonButNoNameInTheirOwnWords) {
  EXPECT_EQ(kGerman.ofOther("/s.json cannot be written: Other users have access to it."),
            "/s.json lässt sich nicht schreiben: Andere Benutzer haben Zugriff darauf.");
  EXPECT_EQ(kGerman.ofOther("The entry of Relay cannot be changed safely."),
            "Der Eintrag von Relay lässt sich nicht sicher ändern.");
  EXPECT_EQ(kGerman.ofOther("The entry of Off cannot be changed safely."),
            "Der Eintrag von Off lässt sich nicht sicher ändern.");
}

TEST(UserTexts, KnowTheLanguageOfALocale) {
  for (const char* const german : {"de", "de_DE.UTF-8", "de_AT", "de@euro", "de.UTF-8", "de-CH", "de-DE-1996"}) {
    EXPECT_EQ(languageOf(german), Language::german) << german;
  }
  for (const char* const english : {"", "C", "en_GB.UTF-8", "den", "dsb_DE", "DE", "den-de", "-de"}) {
    EXPECT_EQ(languageOf(english), Language::english) << english;
  }
}

// ---- The catalogue

std::multiset<std::string> placesIn(std::string_view text) {
  std::multiset<std::string> places;
  for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
    places.emplace(text.substr(at, 2));
  }
  return places;
}

std::size_t lettersIn(std::string_view text) {
  std::size_t letters = 0;
  for (const char byte : text) letters += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U ? 1 : 0;
  return letters;
}

TEST(TextCatalogue, IsCompleteInEveryLanguage) {
  std::set<std::string_view> seen;
  for (const auto& row : kTextRows) {
    EXPECT_TRUE(seen.insert(row.mac).second) << row.mac << " stands there twice.";
    EXPECT_NE(row.german, "") << row.mac;
    EXPECT_EQ(placesIn(row.german), placesIn(row.mac)) << row.mac;
    if (!row.computer.empty()) {
      EXPECT_EQ(placesIn(row.computer), placesIn(row.mac)) << row.mac;
    }
  }
}

// The window has room for texts that are half as long again, and a few letters more where they are short.
TEST(TextCatalogue, HasNoTextThatIsMuchLongerThanTheEnglishOne) {
  for (const auto& row : kTextRows) {
    const auto english = lettersIn(row.computer.empty() ? row.mac : row.computer);
    EXPECT_LE(lettersIn(row.german), english + english / 2 + 12) << row.german;
  }
}

TEST(TextCatalogue, PromisesNothingThatThereIsOnlyOnAMac) {
  for (const auto& row : kTextRows) {
    for (const auto text : {row.computer.empty() ? row.mac : row.computer, row.german}) {
      EXPECT_THAT(std::string(text), Not(AnyOf(HasSubstr("Mac"), HasSubstr("iPhone"), HasSubstr("macOS"),
                                               HasSubstr("nudge"), HasSubstr("packaging"))));
    }
  }
}

}  // namespace
}  // namespace quillard
