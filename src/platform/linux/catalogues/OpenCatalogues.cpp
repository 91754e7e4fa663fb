#include "platform/linux/catalogues/OpenCatalogues.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/linux/catalogues/MappedCatalogues.h"

namespace quillard::catalogues {

OpenCatalogues openCatalogues(const std::vector<CataloguePath>& paths, const Folder& root, const LocalMounts& mounts,
                              std::uint32_t protectingUser) {
  OpenCatalogues open;
  const auto openFile = [&](const std::string& path) -> std::optional<CatalogueFile> {
    if (!mounts.contains(path)) return std::nullopt;
    auto opened = CatalogueFile::open(root, path, protectingUser);
    if (opened.couldNotLook) open.couldNotLook = true;
    if (opened.isTooLarge) open.isCutOff = true;
    return std::move(opened.file);
  };
  for (const auto& path : paths) {
    auto file = openFile(path.path);
    const bool isKnown = file && std::any_of(open.catalogues.begin(), open.catalogues.end(), [&](const auto& known) {
                           return known.file.identity() == file->identity();
                         });
    if (!file || isKnown) continue;
    const auto englishPath = path.englishPath();
    auto english = englishPath.empty() ? std::nullopt : openFile(englishPath);
    if (!englishPath.empty() && !english) continue;
    if (open.catalogues.size() >= kMostCatalogues) {
      open.isCutOff = true;
      break;
    }
    open.catalogues.push_back({path.kind, *std::move(file), std::move(english)});
  }
  return open;
}

}  // namespace quillard::catalogues
