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

std::optional<std::string> CatalogueSearch::bytesOf(const CatalogueFile& file, WorkBudget& budget) const {
  if (!budget.spend(static_cast<std::size_t>(file.identity().size))) return std::nullopt;
  return readFile ? readFile(file) : file.read();
}

std::optional<std::vector<FoundSources>> CatalogueSearch::read(const OpenCatalogue& catalogue,
                                                               const std::vector<WantedText>& texts, WorkBudget& budget,
                                                               std::size_t& tooLittle) const {
  const std::size_t available = budget.remaining();
  const auto bytes = bytesOf(catalogue.file, budget);
  const auto english = catalogue.english ? bytesOf(*catalogue.english, budget) : std::string{};
  if (!bytes || !english) return std::nullopt;
  ReverseLookup lookup(texts);
  bool isWithinBudget = true;
  visitMessages(catalogue.kind, *bytes, *english, [&](std::string_view source, std::string_view translation) {
    isWithinBudget = budget.charge(lookup.pass(source, translation));
    return isWithinBudget;
  });
  if (!isWithinBudget) {
    tooLittle = available;
    return std::nullopt;
  }
  return lookup.found();
}

CatalogueSearch::KnownSources CatalogueSearch::knownSources(const FileIdentity& file,
                                                            const std::vector<WantedText>& texts) {
  const MutexLock lock(mutex);
  KnownSources known;
  for (const auto& text : texts) {
    const auto* const sources = cache.find(file, text);
    known.push_back(sources ? std::optional(*sources) : std::nullopt);
  }
  return known;
}

void CatalogueSearch::remember(const FileIdentity& file, const std::vector<WantedText>& texts,
                               const std::vector<FoundSources>& found) {
  const MutexLock lock(mutex);
  ++reads;
  for (std::size_t i = 0; i < texts.size(); ++i) cache.remember(file, texts[i], found[i]);
}

std::optional<std::vector<FoundSources>> CatalogueSearch::find(const OpenCatalogue& catalogue,
                                                               const std::vector<WantedText>& texts,
                                                               WorkBudget& budget) {
  auto known = knownSources(catalogue.file.identity(), texts);
  std::vector<WantedText> unknown;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (!known[i]) unknown.push_back(texts[i]);
  }
  std::vector<FoundSources> read;
  if (!unknown.empty()) {
    if (!mayBeEnough(catalogue.file.identity(), budget)) return std::nullopt;
    std::size_t tooLittle = 0;
    auto found = this->read(catalogue, unknown, budget, tooLittle);
    if (tooLittle > 0) rememberTooLittle(catalogue.file.identity(), tooLittle);
    if (!found) return std::nullopt;
    read = *std::move(found);
    remember(catalogue.file.identity(), unknown, read);
  }
  std::vector<FoundSources> all;
  auto next = read.begin();
  for (auto& sources : known) all.push_back(sources ? *std::move(sources) : std::move(*next++));
  return all;
}

bool CatalogueSearch::mayBeEnough(const FileIdentity& file, const WorkBudget& budget) const {
  const MutexLock lock(mutex);
  const auto known = tooLittleFor.find(file);
  return known == tooLittleFor.end() || budget.wasFull() || budget.remaining() / 2 >= known->second;
}

void CatalogueSearch::rememberTooLittle(const FileIdentity& file, std::size_t work) {
  const MutexLock lock(mutex);
  if (tooLittleFor.size() >= CatalogueCache::kMostFiles) tooLittleFor.clear();
  tooLittleFor[file] = work;
}

int CatalogueSearch::readCount() const {
  const MutexLock lock(mutex);
  return reads;
}

}  // namespace quillard::catalogues
