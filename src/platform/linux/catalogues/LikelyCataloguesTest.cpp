#include <algorithm>
#include <map>
#include <string>

#include <gmock/gmock.h>

#include "platform/linux/catalogues/LikelyCatalogues.h"
#include "platform/linux/catalogues/ProcessFolder.h"

namespace quillard::catalogues {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

TEST(LanguageNames, BeginWithTheMostSpecial) {
  EXPECT_THAT(languageNames("pt_BR.UTF-8"), ElementsAre("pt_BR", "pt"));
  EXPECT_THAT(languageNames("sr_RS@latin"), ElementsAre("sr_RS@latin", "sr"));
  EXPECT_THAT(languageNames("zh-CN"), ElementsAre("zh_CN", "zh"));
  EXPECT_THAT(languageNames("de"), ElementsAre("de"));
}

TEST(LanguageNames, AreNoneForEnglishAndForWhatIsNoLanguage) {
  for (const char* locale : {"", "C", "C.UTF-8", "POSIX", "en_US.UTF-8", "en", "../..", "de/../..", "d", "german",
                             "de_DE/x.UTF-8", "\xFF\xFE"}) {
    EXPECT_THAT(languageNames(locale), IsEmpty()) << locale;
  }
}

CataloguePath gettext(const std::string& path) { return {CatalogueKind::gettext, path}; }
CataloguePath qt(const std::string& path) { return {CatalogueKind::qt, path}; }

TEST(LikelyCatalogues, AreTheProgramsOwnAndThoseOfItsToolkit) {
  const auto ofGtk = likelyCatalogues({"zenity", "gtk", "pt_BR.UTF-8"}, "/share");
  EXPECT_THAT(ofGtk, Contains(gettext("/share/locale/pt_BR/LC_MESSAGES/zenity.mo")));
  EXPECT_THAT(ofGtk, Contains(gettext("/share/locale/pt/LC_MESSAGES/gtk30.mo")));
  EXPECT_THAT(ofGtk, Not(Contains(qt("/share/qt6/translations/qtbase_pt.qm"))));
  const auto ofQt = likelyCatalogues({"keepassxc", "Qt", "de"}, "/share");
  EXPECT_THAT(ofQt, Contains(qt("/share/keepassxc/translations/keepassxc_de.qm")));
  EXPECT_THAT(ofQt, Contains(qt("/share/qt5/translations/qtbase_de.qm")));
  EXPECT_THAT(ofQt, Not(Contains(gettext("/share/locale/de/LC_MESSAGES/gtk30.mo"))));
}

TEST(LikelyCatalogues, OfAnUnknownToolkitAreThoseOfAll) {
  const auto paths = likelyCatalogues({"", "", "de"}, "/share");
  EXPECT_THAT(paths, Contains(gettext("/share/locale/de/LC_MESSAGES/gtk40.mo")));
  EXPECT_THAT(paths, Contains(qt("/share/qt6/translations/qtbase_de.qm")));
}

TEST(LikelyCatalogues, NeverLeaveTheirFolderForAProgramThatNamesItselfOddly) {
  for (const std::string name : {"../../../tmp/x", "/tmp/x", ".x", "a b", "x\n"}) {
    for (const auto& path : likelyCatalogues({name, "", "de"}, "/share")) {
      EXPECT_EQ(path.path.find(name), std::string::npos) << path.path;
    }
  }
  EXPECT_THAT(likelyCatalogues({"zenity", "gtk", "../de"}, "/share"), IsEmpty());
}

TEST(MessageLocale, IsWhatGettextTakes) {
  using Variables = std::map<std::string, std::string, std::less<>>;
  const auto of = [](const Variables& variables) {
    return messageLocale([&](std::string_view name) -> std::optional<std::string> {
      const auto found = variables.find(name);
      return found == variables.end() ? std::nullopt : std::optional(found->second);
    });
  };
  EXPECT_EQ(of({{"LANG", "de_DE.UTF-8"}}), "de_DE.UTF-8");
  EXPECT_EQ(of({{"LANG", "de_DE.UTF-8"}, {"LC_MESSAGES", "fr_FR.UTF-8"}}), "fr_FR.UTF-8");
  EXPECT_EQ(of({{"LC_ALL", "pl_PL.UTF-8"}, {"LC_MESSAGES", "fr_FR.UTF-8"}}), "pl_PL.UTF-8");
  EXPECT_EQ(of({{"LC_ALL", ""}, {"LANG", "de_DE.UTF-8"}}), "de_DE.UTF-8");
  EXPECT_EQ(of({{"LANG", "de_DE.UTF-8"}, {"LANGUAGE", "ja:de"}}), "ja");
  EXPECT_EQ(of({{"LANG", "C.UTF-8"}, {"LANGUAGE", "ja"}}), "") << "gettext translates nothing there.";
  EXPECT_EQ(of({}), "");
}

}  // namespace
}  // namespace quillard::catalogues
