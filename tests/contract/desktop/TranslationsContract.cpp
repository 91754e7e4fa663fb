#include "contract/desktop/TranslationsContract.h"

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
