#include "platform/linux/catalogues/MappedCatalogues.h"

#include <algorithm>

namespace quillard::catalogues {
namespace {

constexpr std::string_view kDeleted = " (deleted)";
constexpr int kFieldsBeforePath = 5;

// Behind the addresses, rights, offset, device and number; empty: nothing is named.
std::string_view pathOf(std::string_view line) {
  for (int field = 0; field < kFieldsBeforePath; ++field) {
    const auto end = line.find(' ');
    if (end == std::string_view::npos) return {};
    line.remove_prefix(end);
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  }
  if (line.ends_with(kDeleted)) line.remove_suffix(kDeleted.size());
  return line;
}

}  // namespace

MappedCatalogues mappedCatalogues(std::string_view maps) {
  MappedCatalogues mapped;
  auto& catalogues = mapped.paths;
  std::string_view last;
  while (!maps.empty()) {
    const auto line = maps.substr(0, maps.find('\n'));
    maps.remove_prefix(std::min(line.size() + 1, maps.size()));
    const auto path = pathOf(line);
    if (path == last) continue;  // Most files have several lines, one behind another.
    last = path;
    auto catalogue = cataloguePathOf(path);
    if (!catalogue || std::find(catalogues.begin(), catalogues.end(), *catalogue) != catalogues.end()) continue;
    if (catalogues.size() >= kMostCatalogues) {
      mapped.isCutOff = true;
      break;
    }
    catalogues.push_back(*std::move(catalogue));
  }
  return mapped;
}

}  // namespace quillard::catalogues
