#pragma once

#include <optional>
#include <vector>

#include "platform/linux/catalogues/CatalogueCache.h"
#include "platform/linux/catalogues/OpenCatalogues.h"
#include "platform/linux/catalogues/ReverseLookup.h"

namespace quillard::catalogues {

// Looks for texts in open catalogues, each of which is read at most once for a text. One thread.
class CatalogueSearch {
 public:
  // One for each text, in the same order. Absent: the catalogue could not be read this time. One that is broken, or in
  // a form that is not known, has no messages.
  [[nodiscard]] std::optional<std::vector<FoundSources>> find(const OpenCatalogue& catalogue,
                                                              const std::vector<WantedText>& texts);

  // How many times a catalogue has been read from beginning to end.
  [[nodiscard]] int readCount() const { return reads; }

 private:
  [[nodiscard]] bool read(const OpenCatalogue& catalogue, const std::vector<WantedText>& texts);

  CatalogueCache cache;
  int reads = 0;
};

}  // namespace quillard::catalogues
