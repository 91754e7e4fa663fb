#include <string>

#include <gtest/gtest.h>

#include "platform/linux/catalogues/MessagePattern.h"

namespace quillard::catalogues {
namespace {

bool matches(const char* translation, const char* text) {
  const auto pattern = MessagePattern::of(translation);
  EXPECT_TRUE(pattern) << translation;
  return pattern && pattern->matches(text);
}

TEST(MessagePattern, MatchesWhateverIsPutIn) {
  EXPECT_TRUE(matches("Soll „%s“ gelöscht werden?", "Soll „Brief.odt“ gelöscht werden?"));
  EXPECT_TRUE(matches("%1$s möchte auf %2$s zugreifen", "Karten möchte auf die Kamera zugreifen"));
  EXPECT_TRUE(matches("%n Dateien werden gelöscht", "3 Dateien werden gelöscht"));
  EXPECT_TRUE(matches("Die Datei %1 ist schreibgeschützt", "Die Datei /etc/fstab ist schreibgeschützt"));
  EXPECT_TRUE(matches("%L1 Elemente ersetzen", "1.000 Elemente ersetzen"));
  EXPECT_TRUE(matches("%(name)s fragt nach dem Passwort", "ssh fragt nach dem Passwort"));
  EXPECT_TRUE(matches("{count} Einträge verwerfen", "12 Einträge verwerfen"));
  EXPECT_TRUE(matches("{ $origin } möchte Benachrichtigungen senden", "a.example möchte Benachrichtigungen senden"));
  EXPECT_TRUE(matches("%APP% wird beendet werden", "Uhr wird beendet werden"));
  EXPECT_TRUE(matches("$1 wurde heruntergeladen", "a.zip wurde heruntergeladen"));
  EXPECT_TRUE(matches("Nach %-5ld Sekunden beenden", "Nach 30 Sekunden beenden"));
  EXPECT_TRUE(matches("“%s”を削除しますか", "“手紙”を削除しますか"));
}

TEST(MessagePattern, IsAnchoredAtBothEndsAndPutsSomethingIn) {
  EXPECT_FALSE(matches("Soll %s gelöscht werden?", "Wann soll a gelöscht werden?"));
  EXPECT_FALSE(matches("Soll %s gelöscht werden?", "Soll a gelöscht werden? Nein"));
  EXPECT_FALSE(matches("Soll „%s“ gelöscht werden?", "Soll „“ gelöscht werden?"));
  EXPECT_FALSE(matches("%s und %s ersetzen", " und b ersetzen"));
  EXPECT_FALSE(matches("Ersetzen von %s", "Ersetzen von "));
}

TEST(MessagePattern, TakesAPercentSignForWhatItIs) {
  EXPECT_TRUE(matches("%d%% der Dateien geprüft", "40% der Dateien geprüft"));
  EXPECT_FALSE(MessagePattern::of("Sie ist zu 100 % sicher verschlüsselt"));
  EXPECT_FALSE(MessagePattern::of("Eine {Klammer aus mehreren, Wörtern} hier"));
}

TEST(MessagePattern, IsNoneWhereTooLittleIsLeftToTellMessagesApart) {
  for (const char* translation :
       {"%s: %s", "%s (%s)", "%d von %d", "{a}", "$1 – $2", "%s を保存", "Ohne Platzhalter"}) {
    EXPECT_FALSE(MessagePattern::of(translation)) << translation;
  }
}

TEST(MessagePattern, IsNoneWithVeryManyPlaceholders) {
  std::string many = "Eine lange Nachricht";
  for (int i = 0; i < 17; ++i) many += " %s,";
  EXPECT_FALSE(MessagePattern::of(many));
}

TEST(MessagePattern, OfAnyEndIsSafeToRead) {
  for (const char* end : {"%", "%(", "%(n", "%(n)", "%.", "{", "{a", "$", "%-", "%l", "%L"}) {
    EXPECT_FALSE(MessagePattern::of(std::string("Eine Nachricht ") + end)) << end;
  }
}

}  // namespace
}  // namespace quillard::catalogues
