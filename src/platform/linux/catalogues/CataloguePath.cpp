#include "platform/linux/catalogues/CataloguePath.h"

#include <algorithm>
#include <array>

namespace quillard::catalogues {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kLongestPath = 1024;
constexpr auto kEnglishPack = "en-US.pak"sv;

bool holdsNoTextsOfWindows(std::string_view domain) {
  constexpr std::array kDomains{"libc"sv,       "glib20"sv,           "at-spi2-core"sv,
                                "gdk-pixbuf"sv, "xkeyboard-config"sv, "gettext-runtime"sv};
  return std::find(kDomains.begin(), kDomains.end(), domain) != kDomains.end() || domain.ends_with("-properties") ||
         domain.starts_with("iso_");
}

std::optional<CatalogueKind> kindOf(std::string_view folder, std::string_view file) {
  if (file.ends_with(".mo")) {
    return holdsNoTextsOfWindows(file.substr(0, file.size() - 3)) ? std::nullopt
                                                                  : std::optional(CatalogueKind::gettext);
  }
  if (file.ends_with(".qm")) return CatalogueKind::qt;
  const bool isPack = file.ends_with(".pak") && folder.ends_with("/locales");
  return isPack && file != kEnglishPack ? std::optional(CatalogueKind::chromium) : std::nullopt;
}

}  // namespace

std::string CataloguePath::englishPath() const {
  if (kind != CatalogueKind::chromium) return "";
  return path.substr(0, path.rfind('/') + 1) + std::string(kEnglishPack);
}

std::optional<CataloguePath> cataloguePathOf(std::string_view path) {
  const auto slash = path.rfind('/');
  const bool hasControl = std::any_of(path.begin(), path.end(), [](char c) { return c >= 0 && c < ' '; });
  if (!path.starts_with('/') || path.size() > kLongestPath || hasControl) return std::nullopt;
  const auto kind = kindOf(path.substr(0, slash), path.substr(slash + 1));
  return kind ? std::optional(CataloguePath{*kind, std::string(path)}) : std::nullopt;
}

}  // namespace quillard::catalogues
