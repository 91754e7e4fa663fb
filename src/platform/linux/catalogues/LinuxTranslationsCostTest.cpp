#include <atomic>
#include <chrono>
#include <future>
#include <optional>

#include <gmock/gmock.h>

#include "support/LinuxTranslationsFixture.h"

namespace quillard::catalogues {
namespace {

using namespace test;
using platform::SourceText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// What translations may cost.
using LinuxTranslationsCost = LinuxTranslationsFixture;

TestMessages manyMessages(int count) {
  TestMessages messages{{"Cancel", "Abbrechen"}};
  for (int i = 0; i < count; ++i) messages.emplace_back("Source " + std::to_string(i), "Text " + std::to_string(i));
  return messages;
}

TEST_F(LinuxTranslationsCost, BeyondTheirBudgetAreUnknownAndTheNextRequestGoesOnFromThere) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.work = 4000;
  computer.options.workPerSecond = 100;
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}});
  computer.map(kOwn, manyMessages(40));  // Some 1,500 bytes, and as many to compare.
  computer.map("/usr/share/locale/de/LC_MESSAGES/third.mo", manyMessages(40));
  const auto first = ask({"Abbrechen"});
  EXPECT_FALSE(first.isComplete);
  EXPECT_THAT(first.labels.at(0), ElementsAre(SourceText{"Cancel", 2, 2}));
  now += std::chrono::seconds(40);
  const auto second = ask({"Abbrechen"});
  EXPECT_TRUE(second.isComplete);
  EXPECT_THAT(second.labels.at(0), ElementsAre(SourceText{"Cancel", 3, 3}));
}

// As often as a scan may ask, which is before the budget has grown by what the catalogue costs.
TEST_F(LinuxTranslationsCost, AreKnownInTheEndHoweverOftenTheyAreAskedFor) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.work = 20'000;
  computer.options.workPerSecond = 2000;
  computer.map(kOwn, manyMessages(100));  // Some 4,000 bytes, and as many to compare.
  while (ask({"Abbrechen"}, {std::string(static_cast<std::size_t>(translations().readCount()) + 1, 'x')}).isComplete) {
  }
  int requests = 0;
  for (; !ask({"Abbrechen"}, {"Noch eine"}).isComplete && requests < 100; ++requests) {
    now += std::chrono::milliseconds(250);
  }
  EXPECT_GT(requests, 5);
  EXPECT_LT(requests, 100);
}

// Else a prompt that counts down would be unknown as often as it is read.
TEST_F(LinuxTranslationsCost, OfALineThatCountsAreLookedUpOnce) {
  computer.map(kOwn, {{"It ends in %d seconds", "Es endet in %d Sekunden"},
                      {"Enter your password within 30 seconds", "In 30 Sekunden das Wort eingeben"},
                      {"Version 2 of “%s”", "Version 2 von „%s“"},
                      {"Step 1%s", "Der Schritt 1%s"}});
  for (int i = 42; i > 0; --i) {
    EXPECT_THAT(line("Es endet in " + std::to_string(i) + " Sekunden"),
                ElementsAre(SourceText{"It ends in %d seconds", 1, 1}));
  }
  EXPECT_EQ(translations().readCount(), 1);
  EXPECT_THAT(line("In 30 Sekunden das Wort eingeben"),
              ElementsAre(SourceText{"Enter your password within 30 seconds", 1, 1}));
  EXPECT_THAT(line("Version 2 von „Brief“"), ElementsAre(SourceText{"Version 2 of “%s”", 1, 1}));
  EXPECT_THAT(line("Der Schritt 15"), ElementsAre(SourceText{"Step 1%s", 1, 1}));
  const int reads = translations().readCount();
  EXPECT_THAT(line("0:42"), IsEmpty());
  EXPECT_EQ(translations().readCount(), reads) << "a number means nothing";
}

TEST_F(LinuxTranslationsCost, AskNoProgramWhereTheyAreFromMemory) {
  int asked = 0;
  computer.options.languageOf = [&](std::int32_t) {
    ++asked;
    return ProgramLanguage{"de_DE.UTF-8", "gtk"};
  };
  computer.install(kGtk, gettextCatalogue({{"_Discard", "_Verwerfen"}}));
  const platform::TranslationRequest request{kProcess, {"Verwerfen"}, {}, platform::TranslationLookup::fromMemory};
  EXPECT_FALSE(translations().sourceTexts(request)->isComplete);
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(translations().readCount(), 0);
  (void)label("Verwerfen");
  const auto known = translations().sourceTexts(request);
  EXPECT_TRUE(known->isComplete);
  EXPECT_THAT(known->labels.at(0), ElementsAre(SourceText{"Discard", 1, 1}));
}

TEST_F(LinuxTranslationsCost, OfAllProcessesTogetherMayCostOnlySoMuch) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.workOfAll = 2000;
  computer.options.workOfAllPerSecond = 100;
  computer.map(kOwn, manyMessages(10));
  int known = 0;
  while (known < 100 && ask({"Abbrechen"}, {std::string(static_cast<std::size_t>(known) + 1, 'x')}).isComplete) {
    computer.start(std::to_string(++known));
    computer.setMaps({kOwn});
  }
  EXPECT_GT(known, 0);
  EXPECT_LT(known, 10);
  now += std::chrono::seconds(20);
  EXPECT_TRUE(ask({"Abbrechen"}, {"Noch eine"}).isComplete);
}

// Whoever starts many processes gets no more for that.
TEST_F(LinuxTranslationsCost, OfAProcessThatWasForgottenForOthersBeginWithNothingToSpend) {
  Instant now{};
  computer.options.now = [&] { return now; };
  for (std::int32_t process = 1; process <= 64; ++process) {
    computer.start("7", process);
    (void)translations().sourceTexts({process, {"Abbrechen"}, {}});
  }
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  EXPECT_FALSE(ask({"Abbrechen"}).isComplete);
  now += std::chrono::seconds(1);
  EXPECT_TRUE(ask({"Abbrechen"}).isComplete);
}

TEST_F(LinuxTranslationsCost, SayWhenTheProgramHasMoreCataloguesThanAreRead) {
  std::vector<std::string> paths;
  const auto add = [&](std::size_t i) {
    paths.push_back("/usr/share/locale/de/LC_MESSAGES/part" + std::to_string(i) + ".mo");
    computer.install(paths.back(), gettextCatalogue({{"Cancel", "Abbrechen"}}));
    computer.setMaps(paths);
  };
  for (std::size_t i = 0; i < 64; ++i) add(i);
  EXPECT_FALSE(ask({"Abbrechen"}).isCutOff);
  add(64);
  const auto texts = ask({"Abbrechen"});
  EXPECT_TRUE(texts.isCutOff);
  EXPECT_THAT(texts.areLabelsCutOff, ElementsAre(true));
}

TEST_F(LinuxTranslationsCost, SayWhenTheListOfWhatTheProgramHasMappedIsCutOff) {
  computer.map(kOwn, {{"Cancel", "Abbrechen"}});
  constexpr std::size_t kLines = 100'000;  // Of more than 4 MiB.
  computer.setMaps(std::vector<std::string>(kLines, "/usr/lib/library"));
  EXPECT_TRUE(ask({"Abbrechen"}).isCutOff);
}

TEST_F(LinuxTranslationsCost, SayWhenACatalogueIsTooLarge) {
  computer.map(kGtk, {{"_Cancel", "_Abbrechen"}});
  computer.map(kOwn, {{"Password", "Wort"}});
  fs::resize_file(computer.root() + kOwn, 16 * 1024 * 1024);
  EXPECT_FALSE(ask({"Abbrechen"}).isCutOff);
  fs::resize_file(computer.root() + kOwn, 16 * 1024 * 1024 + 1);
  EXPECT_TRUE(ask({"Abbrechen"}).isCutOff);
}

TEST_F(LinuxTranslationsCost, SayOfWhichLabelMoreIsThere) {
  TestMessages messages{{"Cancel", "Abbrechen"}};
  for (int i = 0; i < 17; ++i) messages.emplace_back("Source " + std::to_string(i), "Wort");
  computer.map(kOwn, messages);
  const auto texts = ask({"Abbrechen", "Wort"}, {std::string(1025, 'x')});
  EXPECT_TRUE(texts.isCutOff);
  EXPECT_THAT(texts.areLabelsCutOff, ElementsAre(false, true));
}

TEST_F(LinuxTranslationsCost, OfManyCataloguesAreKnownAfterSomeRequests) {
  computer.options.work = 1500;
  for (int i = 0; i < 8; ++i) {
    computer.map("/usr/share/locale/de/LC_MESSAGES/part" + std::to_string(i) + ".mo", manyMessages(10));
  }
  int requests = 1;
  auto texts = ask({"Abbrechen"});
  EXPECT_FALSE(texts.isComplete);
  for (; !texts.isComplete && requests < 20; ++requests) texts = ask({"Abbrechen"});
  EXPECT_LT(requests, 20);
  EXPECT_THAT(texts.labels.at(0), ElementsAre(SourceText{"Cancel", 8, 8}));
  EXPECT_EQ(translations().readCount(), 8) << "what was found is not looked for again";
}

TEST_F(LinuxTranslationsCost, OfOneProcessMayCostOnlySoMuchForEachSecond) {
  Instant now{};
  computer.options.now = [&] { return now; };
  computer.options.work = 2000;
  computer.options.workPerSecond = 100;
  computer.map(kOwn, manyMessages(10));
  const auto isKnown = [&](const std::string& line) { return ask({"Abbrechen"}, {line}).isComplete; };
  std::size_t known = 0;
  while (known < 100 && isKnown(std::string(known + 1, 'x'))) ++known;
  EXPECT_GT(known, 0U);
  EXPECT_LT(known, 10U);
  EXPECT_THAT(label("Abbrechen"), ElementsAre(SourceText{"Cancel", 1, 1})) << "what is known costs nothing";
  now += std::chrono::seconds(3);
  EXPECT_FALSE(isKnown("Another line"));
  now += std::chrono::seconds(17);
  EXPECT_TRUE(isKnown("Another line"));
  computer.start("999");
  computer.setMaps({kOwn});
  EXPECT_TRUE(isKnown("A line of another process"));
}

TEST_F(LinuxTranslationsCost, SayWhenATextHasMoreSourcesThanAreKept) {
  TestMessages messages;
  for (int i = 0; i < 16; ++i) messages.emplace_back("Source " + std::to_string(i), "Abbrechen");
  computer.map(kOwn, messages);
  EXPECT_FALSE(ask({"Abbrechen"}).isCutOff);
  messages.emplace_back("Password", "Abbrechen");
  computer.install(kOwn, gettextCatalogue(messages));
  EXPECT_TRUE(ask({"Abbrechen"}).isCutOff);
  EXPECT_FALSE(ask({"Erlauben"}).isCutOff);
}

// A decision asks on a thread that must not wait for the search of a scan.
TEST_F(LinuxTranslationsCost, AnswerWhileAnotherRequestIsReading) {
  std::promise<void> begun;
  std::promise<void> goOn;
  std::atomic<int> calls = 0;
  computer.options.readFile = [&](const CatalogueFile& file) {
    if (calls++ == 0) {
      begun.set_value();
      goOn.get_future().wait();
    }
    return file.read();
  };
  computer.map(kOwn, {{"Cancel", "Abbrechen"}, {"Allow", "Erlauben"}});
  auto& asked = translations();
  auto slow = std::async(std::launch::async, [&] { return asked.sourceTexts({kProcess, {"Abbrechen"}, {}}); });
  begun.get_future().wait();
  auto quick = std::async(std::launch::async, [&] { return asked.sourceTexts({kProcess, {"Erlauben"}, {}}); });
  const bool isAnswered = quick.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
  EXPECT_TRUE(isAnswered);
  EXPECT_EQ(slow.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  goOn.set_value();
  EXPECT_THAT(quick.get()->labels.at(0), ElementsAre(SourceText{"Allow", 1, 1}));
  EXPECT_THAT(slow.get()->labels.at(0), ElementsAre(SourceText{"Cancel", 1, 1}));
}

}  // namespace
}  // namespace quillard::catalogues
