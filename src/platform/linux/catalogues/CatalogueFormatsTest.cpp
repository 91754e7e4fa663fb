#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "platform/linux/catalogues/ChromiumCatalogue.h"
#include "platform/linux/catalogues/GettextCatalogue.h"
#include "platform/linux/catalogues/QtCatalogue.h"
#include "platform/linux/catalogues/TestCatalogues.h"

namespace quillard::catalogues {
namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using Messages = std::vector<std::pair<std::string, std::string>>;

struct Read {
  bool isCatalogue = false;
  Messages messages;
};

Read readWith(const std::function<bool(const MessageVisitor&)>& reader) {
  Read read;
  read.isCatalogue = reader([&](std::string_view source, std::string_view translation) {
    read.messages.emplace_back(source, translation);
    return true;
  });
  return read;
}

// How many messages a reader gives to one who wants no more than one.
int countOfOne(const std::function<bool(const MessageVisitor&)>& reader) {
  int count = 0;
  (void)reader([&](std::string_view, std::string_view) {
    ++count;
    return false;
  });
  return count;
}

Read gettext(const std::string& bytes) {
  return readWith([&](const auto& visit) { return readGettextCatalogue(bytes, visit); });
}
Read qt(const std::string& bytes) {
  return readWith([&](const auto& visit) { return readQtCatalogue(bytes, visit); });
}
Read chromium(const std::string& bytes, const std::string& english) {
  return readWith([&](const auto& visit) { return readChromiumCatalogue(bytes, english, visit); });
}

void replaceNumber(std::string& bytes, std::size_t at, std::uint32_t value, bool isBig = false) {
  std::string number;
  appendNumber(number, value, 4, isBig);
  bytes.replace(at, 4, number);
}

// ---- gettext

TEST(GettextCatalogue, GivesItsMessagesWithoutContextsAndEachFormOfAPlural) {
  const auto bytes =
      gettextCatalogue({{"_Cancel", "_Abbrechen"},
                        {"Stock label\4_Save", "_Speichern"},
                        {std::string("One file\0%d files", 17), std::string("Eine Datei\0%d Dateien", 21)}});
  const auto read = gettext(bytes);
  EXPECT_TRUE(read.isCatalogue);
  EXPECT_THAT(read.messages, ElementsAre(Pair("_Cancel", "_Abbrechen"), Pair("_Save", "_Speichern"),
                                         Pair("One file", "Eine Datei"), Pair("One file", "%d Dateien")));
}

TEST(GettextCatalogue, IsReadInEitherByteOrder) {
  EXPECT_THAT(gettext(gettextCatalogue({{"No", "Nein"}}, "UTF-8", true)).messages, ElementsAre(Pair("No", "Nein")));
}

TEST(GettextCatalogue, IsReadInLatin1AndRefusedInOtherCharacterSets) {
  const TestMessages messages{{"Delete", "L\xF6schen"}};
  EXPECT_THAT(gettext(gettextCatalogue(messages, "ISO-8859-1")).messages, ElementsAre(Pair("Delete", "Löschen")));
  for (const char* charset : {"ISO-8859-15", "EUC-JP", "KOI8-R", "SHIFT_JIS"}) {
    const auto read = gettext(gettextCatalogue(messages, charset));
    EXPECT_FALSE(read.isCatalogue) << charset;
    EXPECT_THAT(read.messages, IsEmpty()) << charset;
  }
}

TEST(GettextCatalogue, ThatIsBrokenGivesWhatCanBeReadAndNothingBeyondItsEnd) {
  const auto sound = gettextCatalogue({{"No", "Nein"}, {"Yes", "Ja"}});
  constexpr std::size_t kFirstSource = 28 + 8;            // The row of "No".
  constexpr std::size_t kFirstTranslation = 28 + 24 + 8;  // The row of "Nein".
  struct Case {
    const char* name;
    std::size_t at;
    std::uint32_t value;
    std::size_t messages;
  };
  const Case cases[]{{"a length beyond the end", kFirstSource, 5000, 1},
                     {"the largest length", kFirstSource, 0xFFFFFFFF, 1},
                     {"an offset beyond the end", kFirstSource + 4, 5000, 1},
                     {"the largest offset", kFirstTranslation + 4, 0xFFFFFFFF, 1},
                     {"an empty translation", kFirstTranslation, 0, 1},
                     {"more messages than there are", 8, 0xFFFFFFFF, 2},
                     {"no messages", 8, 0, 0},
                     {"a table beyond the end", 12, 0xFFFFFFF0, 0},
                     {"the other table beyond the end", 16, 5000, 0}};
  for (const auto& each : cases) {
    auto bytes = sound;
    replaceNumber(bytes, each.at, each.value);
    const auto read = gettext(bytes);
    EXPECT_TRUE(read.isCatalogue) << each.name;
    EXPECT_LE(read.messages.size(), each.messages + 1) << each.name;
    EXPECT_GE(read.messages.size(), each.messages) << each.name;
  }
}

TEST(GettextCatalogue, CutOffAnywhereIsSafeToRead) {
  const auto sound = gettextCatalogue({{"No", "Nein"}, {"Yes", "Ja"}});
  for (std::size_t length = 0; length < sound.size(); ++length) {
    EXPECT_LE(gettext(sound.substr(0, length)).messages.size(), 2U) << length;
  }
}

TEST(GettextCatalogue, IsNoneWithoutItsMagicNumber) {
  for (const std::string bytes : {"", "x", "\xDE\x12\x04", "A text that is no catalogue of messages at all."}) {
    EXPECT_FALSE(gettext(bytes).isCatalogue);
  }
}

// ---- Qt

TEST(QtCatalogue, GivesItsMessagesAndEachForm) {
  const auto read =
      qt(qtCatalogue({{"&Yes", {u"&Ja"}}, {"%n file(s)", {u"%n Datei", u"%n Dateien"}}, {"Discard", {u"تجاهل"}}}));
  EXPECT_TRUE(read.isCatalogue);
  EXPECT_THAT(read.messages, ElementsAre(Pair("&Yes", "&Ja"), Pair("%n file(s)", "%n Datei"),
                                         Pair("%n file(s)", "%n Dateien"), Pair("Discard", "تجاهل")));
}

TEST(QtCatalogue, PassesOverMessagesWithoutASourceOrATranslation) {
  EXPECT_THAT(qt(qtCatalogue({{"", {u"Ja"}}, {"No", {}}, {"No", {u""}}, {"OK", {u"OK"}}})).messages,
              ElementsAre(Pair("OK", "OK")));
}

TEST(QtCatalogue, ReadsCharactersBeyondTheFirstPlaneAndMendsHalves) {
  EXPECT_THAT(qt(qtCatalogue({{"Rocket", {u"\U0001F680"}}, {"Half", {std::u16string(1, u'\xD83D') + u"x"}}})).messages,
              ElementsAre(Pair("Rocket", "\U0001F680"), Pair("Half", "\uFFFDx")));
}

TEST(QtCatalogue, ThatIsBrokenGivesWhatStandsBefore) {
  const auto sound = qtCatalogue({{"No", {u"Nein"}}, {"Yes", {u"Ja"}}});
  for (std::size_t length = 0; length < sound.size(); ++length) {
    EXPECT_LE(qt(sound.substr(0, length)).messages.size(), 1U) << length;
  }
  const std::size_t section = sound.find('\x69');
  auto bytes = sound;
  replaceNumber(bytes, section + 1, 0xFFFFFFFF, true);
  EXPECT_THAT(qt(bytes).messages, IsEmpty());
  bytes = sound;
  replaceNumber(bytes, section + 6, 0xFFFFFFFF, true);  // The first translation: absent, so that its text is no tag.
  EXPECT_THAT(qt(bytes).messages, IsEmpty());
  bytes = sound;
  bytes[section + 5] = '\x7F';  // No known tag.
  EXPECT_THAT(qt(bytes).messages, IsEmpty());
}

TEST(QtCatalogue, IsNoneWithoutItsMagicNumber) {
  EXPECT_FALSE(qt("").isCatalogue);
  EXPECT_FALSE(qt("\x3C\xB8\x64\x18 and no more").isCatalogue);
}

// ---- Chromium

TEST(ChromiumCatalogue, GivesTheTextsThatBothPacksHave) {
  const auto read = chromium(chromiumPack({{1, "Abbrechen"}, {2, "Nur hier"}, {4, "Löschen"}}),
                             chromiumPack({{1, "Cancel"}, {3, "Only there"}, {4, "Delete"}}));
  EXPECT_TRUE(read.isCatalogue);
  EXPECT_THAT(read.messages, UnorderedElementsAre(Pair("Cancel", "Abbrechen"), Pair("Delete", "Löschen")));
}

TEST(ChromiumCatalogue, FollowsAliases) {
  EXPECT_THAT(chromium(chromiumPack({{1, "Ja"}}, {{9, 0}}), chromiumPack({{9, "Yes"}})).messages,
              ElementsAre(Pair("Yes", "Ja")));
  EXPECT_THAT(chromium(chromiumPack({{1, "Ja"}}, {{9, 7}}), chromiumPack({{9, "Yes"}})).messages, IsEmpty());
}

TEST(ChromiumCatalogue, ReadsUtf16AndTheVersionBefore) {
  std::string pack;
  appendNumber(pack, 4, 4, false);
  appendNumber(pack, 1, 4, false);
  pack += '\2';
  appendNumber(pack, 5, 2, false);
  appendNumber(pack, 21, 4, false);
  appendNumber(pack, 0, 2, false);
  appendNumber(pack, 25, 4, false);
  pack += utf16(u"否定", false);
  EXPECT_THAT(chromium(pack, chromiumPack({{5, "Deny"}})).messages, ElementsAre(Pair("Deny", "否定")));
}

TEST(ChromiumCatalogue, ThatIsBrokenOrNoneGivesNothingBeyondItsEnd) {
  const auto english = chromiumPack({{1, "Cancel"}, {2, "Delete"}});
  const auto sound = chromiumPack({{1, "Abbrechen"}, {2, "Löschen"}});
  for (std::size_t length = 0; length < sound.size(); ++length) {
    EXPECT_LE(chromium(sound.substr(0, length), english).messages.size(), 1U) << length;
  }
  auto bytes = sound;
  replaceNumber(bytes, 12 + 2, 0xFFFFFFFF);  // Where the first text begins: behind its end.
  EXPECT_THAT(chromium(bytes, english).messages, ElementsAre(Pair("Delete", "Löschen")));
  bytes = sound;
  bytes[4] = '\0';  // Binary contents, no texts.
  EXPECT_FALSE(chromium(bytes, english).isCatalogue);
  EXPECT_FALSE(chromium(sound, "no pack").isCatalogue);
}

TEST(Catalogues, GiveNoMoreMessagesThanAreWanted) {
  const auto mo = gettextCatalogue({{"No", "Nein"}, {std::string("One\0Two", 7), std::string("Eins\0Zwei", 9)}});
  EXPECT_EQ(countOfOne([&](const auto& visit) { return readGettextCatalogue(mo, visit); }), 1);
  const auto qm = qtCatalogue({{"No", {u"Nein", u"Nee"}}, {"Yes", {u"Ja"}}});
  EXPECT_EQ(countOfOne([&](const auto& visit) { return readQtCatalogue(qm, visit); }), 1);
  const auto pak = chromiumPack({{7, "Zulassen"}, {8, "Nein"}});
  const auto english = chromiumPack({{7, "Allow"}, {8, "No"}});
  EXPECT_EQ(countOfOne([&](const auto& visit) { return readChromiumCatalogue(pak, english, visit); }), 1);
}

// A small file could name one long text a hundred thousand times.
TEST(GettextCatalogue, WhoseRowsNameTheSameBytesAgainAndAgainIsReadOnce) {
  TestMessages messages;
  for (int i = 0; i < 1000; ++i) messages.emplace_back("Source " + std::to_string(i), std::string(100, 'x'));
  auto bytes = gettextCatalogue(messages);
  EXPECT_GE(gettext(bytes).messages.size(), 1000U);
  constexpr std::size_t kRow = 8;
  std::uint32_t rows = 0;
  std::uint32_t translations = 0;
  std::memcpy(&rows, bytes.data() + 8, sizeof rows);
  std::memcpy(&translations, bytes.data() + 16, sizeof translations);
  for (std::uint32_t i = 1; i < rows; ++i) {  // All of it: from the first to the last translation.
    replaceNumber(bytes, translations + i * kRow, 4000);
  }
  const auto read = gettext(bytes);
  std::size_t size = 0;
  for (const auto& [source, translation] : read.messages) size += translation.size();
  EXPECT_GT(read.messages.size(), 10U);
  EXPECT_LE(size, bytes.size());
}

}  // namespace
}  // namespace quillard::catalogues
