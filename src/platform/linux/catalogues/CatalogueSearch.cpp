#include "platform/linux/catalogues/CatalogueSearch.h"

#include <string_view>

#include "platform/linux/catalogues/ChromiumCatalogue.h"
#include "platform/linux/catalogues/GettextCatalogue.h"
#include "platform/linux/catalogues/QtCatalogue.h"

namespace quillard::catalogues {
namespace {

void visitMessages(CatalogueKind kind, std::string_view bytes, std::string_view english, const MessageVisitor& visit) {
  switch (kind) {
    case CatalogueKind::gettext:
      readGettextCatalogue(bytes, visit);
      break;
    case CatalogueKind::qt:
      readQtCatalogue(bytes, visit);
      break;
    case CatalogueKind::chromium:
      readChromiumCatalogue(bytes, english, visit);
      break;
  }
}

}  // namespace

bool CatalogueSearch::read(const OpenCatalogue& catalogue, const std::vector<WantedText>& texts) {
  const auto bytes = catalogue.file.read();
  const auto english = catalogue.english ? catalogue.english->read() : std::string{};
  if (!bytes || !english) return false;
  ++reads;
  ReverseLookup lookup(texts);
  visitMessages(catalogue.kind, *bytes, *english,
                [&](std::string_view source, std::string_view translation) { lookup.pass(source, translation); });
  for (std::size_t i = 0; i < texts.size(); ++i) {
    cache.remember(catalogue.file.identity(), texts[i], lookup.found()[i]);
  }
  return true;
}

std::optional<std::vector<FoundSources>> CatalogueSearch::find(const OpenCatalogue& catalogue,
                                                               const std::vector<WantedText>& texts) {
  const auto& identity = catalogue.file.identity();
  std::vector<WantedText> unknown;
  for (const auto& text : texts) {
    if (!cache.find(identity, text)) unknown.push_back(text);
  }
  if (!unknown.empty() && !read(catalogue, unknown)) return std::nullopt;
  std::vector<FoundSources> found;
  for (const auto& text : texts) {
    const auto* known = cache.find(identity, text);
    found.push_back(known ? *known : FoundSources{});
  }
  return found;
}

}  // namespace quillard::catalogues
