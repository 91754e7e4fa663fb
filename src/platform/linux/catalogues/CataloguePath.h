#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillard::catalogues {

enum class CatalogueKind { gettext, qt, chromium };

// The file of one catalogue.
struct CataloguePath {
  CatalogueKind kind = CatalogueKind::gettext;
  std::string path;  // Absolute, as its process sees it.

  // The pack of English texts beside a translated one; empty for the other kinds, which hold both sides.
  [[nodiscard]] std::string englishPath() const;

  bool operator==(const CataloguePath&) const = default;
};

// What a path is by its name. Absent: it names no catalogue, or one of English texts, or one that holds no texts of
// windows (the C library's messages, names of countries, properties of widgets).
[[nodiscard]] std::optional<CataloguePath> cataloguePathOf(std::string_view path);

}  // namespace quillard::catalogues
