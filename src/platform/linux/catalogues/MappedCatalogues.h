#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "platform/linux/catalogues/CataloguePath.h"

namespace quillard::catalogues {

// As many catalogues are read of one process.
inline constexpr std::size_t kMostCatalogues = 64;

struct MappedCatalogues {
  std::vector<CataloguePath> paths;
  bool isCutOff = false;  // It has mapped more than these.
};

// The catalogues that a process uses, by what the kernel says that it has mapped (/proc/PID/maps), each once, in the
// order of the list. A file that was replaced since ("(deleted)") is named as the one in its place. Lines of another
// form are passed over.
[[nodiscard]] MappedCatalogues mappedCatalogues(std::string_view maps);

}  // namespace quillard::catalogues
