#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/linux/catalogues/CatalogueCache.h"
#include "platform/linux/catalogues/OpenCatalogues.h"
#include "platform/linux/catalogues/ReverseLookup.h"
#include "platform/linux/catalogues/WorkBudget.h"

namespace quillard::catalogues {

// Looks for texts in open catalogues, each of which is read at most once for a text, unless two threads ask for it at
// the same time. Any thread, several at a time: files are read and searched with nothing locked, so that none waits for
// the search of another.
class CatalogueSearch {
 public:
  // All of a file. Absent: it could not be read.
  using FileReader = std::function<std::optional<std::string>(const CatalogueFile&)>;

  // `readFile` empty: from the disk.
  explicit CatalogueSearch(FileReader readFile) : readFile(std::move(readFile)) {}

  // One for each text, in the same order. Absent: the catalogue could not be read this time, or the budget was not
  // enough for it. One that is broken, or in a form that is not known, has no messages. What was found before costs
  // nothing.
  [[nodiscard]] std::optional<std::vector<FoundSources>> find(const OpenCatalogue& catalogue,
                                                              const std::vector<WantedText>& texts, WorkBudget& budget);

  // How many times a catalogue has been read from beginning to end.
  [[nodiscard]] int readCount() const;

 private:
  // Of each text, absent: not known yet.
  using KnownSources = std::vector<std::optional<FoundSources>>;

  [[nodiscard]] KnownSources knownSources(const FileIdentity& file, const std::vector<WantedText>& texts);
  [[nodiscard]] std::optional<std::string> bytesOf(const CatalogueFile& file, WorkBudget& budget) const;
  [[nodiscard]] std::optional<std::vector<FoundSources>> read(const OpenCatalogue& catalogue,
                                                              const std::vector<WantedText>& texts, WorkBudget& budget,
                                                              std::size_t& tooLittle) const;
  // False: as much was not enough for the file before.
  [[nodiscard]] bool mayBeEnough(const FileIdentity& file, const WorkBudget& budget) const;
  void rememberTooLittle(const FileIdentity& file, std::size_t work);
  void remember(const FileIdentity& file, const std::vector<WantedText>& texts, const std::vector<FoundSources>& found);

  const FileReader readFile;
  mutable Mutex mutex;
  // The work that was not enough to search a file. It is tried again with twice as much, or with all that there can be:
  // else each request would spend what the last second has brought on the same beginning of it.
  std::map<FileIdentity, std::size_t> tooLittleFor QUILLARD_GUARDED_BY(mutex);
  CatalogueCache cache QUILLARD_GUARDED_BY(mutex);
  int reads QUILLARD_GUARDED_BY(mutex) = 0;
};

}  // namespace quillard::catalogues
