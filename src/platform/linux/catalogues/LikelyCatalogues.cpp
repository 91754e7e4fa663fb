#include "platform/linux/catalogues/LikelyCatalogues.h"

#include <algorithm>

#include "foundation/Text.h"

namespace quillard::catalogues {
namespace {

constexpr std::size_t kLongestLocale = 32;
constexpr std::size_t kLongestName = 64;

bool isNameCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         c == '+' || c == '.';
}

bool isLocaleCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '@';
}

// Becomes part of a path.
bool isSoundName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && name.front() != '.' &&
         std::all_of(name.begin(), name.end(), isNameCharacter);
}

void addGettext(std::vector<CataloguePath>& paths, const std::string& share, const std::string& language,
                const std::string& domain) {
  paths.push_back({CatalogueKind::gettext, share + "/locale/" + language + "/LC_MESSAGES/" + domain + ".mo"});
  paths.push_back({CatalogueKind::gettext, share + "/locale-langpack/" + language + "/LC_MESSAGES/" + domain + ".mo"});
}

void addQt(std::vector<CataloguePath>& paths, const std::string& share, const std::string& language,
           const std::string& name) {
  for (const std::string version : {"qt6", "qt5"}) {
    paths.push_back({CatalogueKind::qt, share + "/" + version + "/translations/qtbase_" + language + ".qm"});
  }
  paths.push_back({CatalogueKind::qt, share + "/locale/" + language + "/LC_MESSAGES/kwidgetsaddons5_qt.qm"});
  if (!name.empty()) {
    paths.push_back({CatalogueKind::qt, share + "/" + name + "/translations/" + name + "_" + language + ".qm"});
  }
}

}  // namespace

std::vector<std::string> languageNames(std::string_view locale) {
  std::string name(locale.substr(0, std::min(locale.find('.'), kLongestLocale)));
  std::replace(name.begin(), name.end(), '-', '_');
  const auto end = name.find_first_of("_@");
  const std::string language = name.substr(0, end);
  const bool isSound = language.size() >= 2 && language.size() <= 3 &&
                       std::all_of(name.begin(), name.end(), isLocaleCharacter) && language != "en";
  if (!isSound) return {};
  return name == language ? std::vector{language} : std::vector{name, language};
}

std::vector<CataloguePath> likelyCatalogues(const ProgramTraits& program, const std::string& shareFolder) {
  const std::string toolkit = text::lowercased(program.toolkit);
  const bool isGtk = toolkit.empty() || toolkit == "gtk" || toolkit == "gail";
  const bool isQt = toolkit.empty() || toolkit == "qt";
  const std::string name = isSoundName(program.name) ? program.name : "";
  std::vector<CataloguePath> paths;
  for (const auto& language : languageNames(program.language)) {
    if (!name.empty()) addGettext(paths, shareFolder, language, name);
    if (isGtk) {
      for (const auto* domain : {"gtk30", "gtk40", "gtk20"}) addGettext(paths, shareFolder, language, domain);
    }
    if (isQt) addQt(paths, shareFolder, language, name);
  }
  return paths;
}

}  // namespace quillard::catalogues
