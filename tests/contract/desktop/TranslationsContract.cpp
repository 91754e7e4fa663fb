#include "contract/desktop/TranslationsContract.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace quillard::test {
namespace {

using platform::SourceText;
using platform::SourceTexts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

TEST_P(TranslationsContract, EachTextHasItsListInTheOrderOfTheRequest) {
  const auto process = binding->processTranslating({{"Cancel", "Abbrechen"}, {"Delete?", "Löschen?"}});
  const auto texts = ask({process, {"Erlauben", "Abbrechen"}, {"Löschen?", "Abbrechen", "Ja"}});
  if (!texts) return;
  const SourceText cancel{"Cancel", 1, 1};
  EXPECT_THAT(texts->labels, ElementsAre(IsEmpty(), ElementsAre(cancel)));
  EXPECT_THAT(texts->lines, ElementsAre(ElementsAre(SourceText{"Delete?", 1, 1}), ElementsAre(cancel), IsEmpty()));
  EXPECT_TRUE(texts->isComplete);
}

TEST_P(TranslationsContract, ATextOfSeveralMessagesHasAllTheirSources) {
  const auto process = binding->processTranslating({{"Deny", "رفض"}, {"Discard", "رفض"}});
  const auto texts = ask({process, {"رفض"}, {}});
  if (!texts) return;
  EXPECT_THAT(texts->labels.at(0), UnorderedElementsAre(SourceText{"Deny", 1, 1}, SourceText{"Discard", 1, 1}));
}

TEST_P(TranslationsContract, TheSameIsSaidAsOftenAsItIsAsked) {
  const auto process = binding->processTranslating({{"Cancel", "Abbrechen"}});
  const platform::TranslationRequest request{process, {"Abbrechen"}, {"Ein Satz."}};
  const auto first = ask(request);
  EXPECT_EQ(ask(request), first);
}

TEST_P(TranslationsContract, NoSourceIsLeftOutWithoutSayingSo) {
  constexpr std::size_t kSources = 100;
  TranslationsBinding::Messages messages;
  for (std::size_t i = 0; i < kSources; ++i) messages.emplace_back("Text " + std::to_string(i), "Wort");
  const auto process = binding->processTranslating(messages);
  const auto texts = ask({process, {"Wort"}, {"Wort"}});
  if (!texts) return;
  EXPECT_EQ(texts->isCutOff, texts->labels.at(0).size() < kSources || texts->lines.at(0).size() < kSources);
  const auto other = ask({process, {"Anderes Wort"}, {}});
  ASSERT_TRUE(other);
  EXPECT_FALSE(other->isCutOff);
}

// A paragraph that names a password is no label, and may be long.
TEST_P(TranslationsContract, NoTextIsLeftOutForItsLengthWithoutSayingSo) {
  const std::string longest(1024, 'w');
  const std::string longer(1025, 'w');
  const auto process = binding->processTranslating({{"Password", longest}, {"Password", longer}, {"Cancel", "Nein"}});
  for (const auto& shown : {longest, longer}) {
    const auto texts = ask({process, {"Nein"}, {shown}});
    if (!texts) return;
    EXPECT_EQ(texts->isCutOff, texts->lines.at(0).empty()) << shown.size();
    EXPECT_THAT(texts->areLabelsCutOff, ElementsAre(false)) << "the label was looked up";
    const auto label = ask({process, {shown, "Nein"}, {}});
    EXPECT_THAT(label->areLabelsCutOff, ElementsAre(label->labels.at(0).empty(), false));
  }
}

TEST_P(TranslationsContract, NoTextIsLeftOutForItsPlaceWithoutSayingSo) {
  constexpr std::size_t kTexts = 129;
  TranslationsBinding::Messages messages;
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < kTexts; ++i) {
    lines.push_back(std::string(i + 1, 'z'));
    messages.emplace_back("Password", lines.back());
  }
  const auto process = binding->processTranslating(messages);
  const auto texts = ask({process, {}, lines});
  if (!texts) return;
  const auto isEmpty = [](const auto& sources) { return sources.empty(); };
  EXPECT_EQ(texts->isCutOff, std::any_of(texts->lines.begin(), texts->lines.end(), isEmpty));
  EXPECT_FALSE(texts->lines.at(127).empty()) << "as many are looked up";
  const auto few = ask({process, {}, {lines.back()}});
  EXPECT_FALSE(few->isCutOff);
}

TEST_P(TranslationsContract, FromMemoryOnlyWhatWasLookedUpIsKnown) {
  const auto process =
      binding->processTranslating({{"Cancel", "Abbrechen"}, {"Ends in %d seconds", "Noch %d Sekunden"}});
  platform::TranslationRequest request{process, {"Abbrechen"}, {"Noch 9 Sekunden"}};
  request.lookup = platform::TranslationLookup::fromMemory;
  const auto before = ask(request);
  if (!before) return;
  EXPECT_FALSE(before->isComplete);
  request.lookup = platform::TranslationLookup::full;
  const auto full = ask(request);
  EXPECT_TRUE(full->isComplete);
  request.lookup = platform::TranslationLookup::fromMemory;
  EXPECT_EQ(ask(request), full);
  request.lines.emplace_back("Ein Satz.");
  EXPECT_FALSE(ask(request)->isComplete);
}

TEST_P(TranslationsContract, ARequestWithoutTextsHasAnAnswerWithoutLists) {
  const auto process = binding->processTranslating({{"Cancel", "Abbrechen"}});
  const auto texts = ask({process, {}, {}});
  if (!texts) return;
  EXPECT_EQ(*texts, SourceTexts{});
}

TEST_P(TranslationsContract, OfAProgramThatHasEndedNothingIsMadeUp) {
  (void)binding->processTranslating({{"Cancel", "Abbrechen"}});
  const auto texts = ask({binding->endedProcess(), {"Abbrechen"}, {"Ein Satz."}});
  if (!texts) return;
  EXPECT_THAT(texts->labels, ElementsAre(IsEmpty()));
  EXPECT_THAT(texts->lines, ElementsAre(IsEmpty()));
}

}  // namespace
}  // namespace quillard::test
