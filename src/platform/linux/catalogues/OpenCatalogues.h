#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/catalogues/CatalogueFile.h"
#include "platform/linux/catalogues/CataloguePath.h"
#include "platform/linux/catalogues/LocalMounts.h"

namespace quillard::catalogues {

// A catalogue that can be read.
struct OpenCatalogue {
  CatalogueKind kind = CatalogueKind::gettext;
  CatalogueFile file;
  std::optional<CatalogueFile> english;  // Of those that keep their English texts in a file of its own.

  // No program of this user has written any of it.
  [[nodiscard]] bool isProtected() const { return file.isProtected() && (!english || english->isProtected()); }
};

struct OpenCatalogues {
  std::vector<OpenCatalogue> catalogues;  // Those that are there; of two paths to one file, the first.
  bool couldNotLook = false;              // One may be there all the same.
  bool isCutOff = false;                  // More are there than these, or one that is too large.
};

// Opens what is there of these files, as far as they lie on this computer.
[[nodiscard]] OpenCatalogues openCatalogues(const std::vector<CataloguePath>& paths, const Folder& root,
                                            const LocalMounts& mounts, std::uint32_t protectingUser);

}  // namespace quillard::catalogues
