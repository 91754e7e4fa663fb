#include <gmock/gmock.h>

#include "platform/linux/catalogues/KnownLabels.h"

namespace quillard::catalogues {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(KnownLabels, AreThoseOfTheLanguage) {
  EXPECT_THAT(knownLabels("de_DE.UTF-8", "Abbrechen"), ElementsAre("Cancel"));
  EXPECT_THAT(knownLabels("pt_BR", "não"), ElementsAre("No"));
  EXPECT_THAT(knownLabels("ja_JP.UTF-8", "キャンセル"), ElementsAre("Cancel"));
  EXPECT_THAT(knownLabels("zh_TW.UTF-8", "儲存"), ElementsAre("Save"));
  EXPECT_THAT(knownLabels("zh_CN.UTF-8", "取消"), ElementsAre("Cancel")) << "It stands in the table twice.";
  EXPECT_THAT(knownLabels("ar", "إلغاء"), ElementsAre("Cancel"));
}

TEST(KnownLabels, AreNoneOfAnotherLanguageOrNone) {
  EXPECT_THAT(knownLabels("fr_FR.UTF-8", "Abbrechen"), IsEmpty());
  EXPECT_THAT(knownLabels("C", "Abbrechen"), IsEmpty());
  EXPECT_THAT(knownLabels("", "Abbrechen"), IsEmpty());
  EXPECT_THAT(knownLabels("de_DE.UTF-8", "Abbrechen!"), IsEmpty());
}

}  // namespace
}  // namespace quillard::catalogues
