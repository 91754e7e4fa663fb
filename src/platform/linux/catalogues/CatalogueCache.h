#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/linux/catalogues/CatalogueFile.h"
#include "platform/linux/catalogues/ReverseLookup.h"

namespace quillard::catalogues {

// What was found in which state of which file, so that a catalogue is read once for each text, whichever program shows
// it. Holds a few answers of a few files, never a catalogue. One thread.
class CatalogueCache {
 public:
  static constexpr std::size_t kMostFiles = 128;
  // Of all files; the file used least lately gives way.
  static constexpr std::size_t kMostTexts = 4096;
  static constexpr std::size_t kMostBytes = std::size_t{2} * 1024 * 1024;  // Of texts and their sources.

  // Null: this text was not looked for in this file, or it was forgotten since. Valid until the next call.
  [[nodiscard]] const FoundSources* find(const FileIdentity& file, const WantedText& text);
  void remember(const FileIdentity& file, const WantedText& text, FoundSources sources);

 private:
  struct Entry {
    std::map<std::string, FoundSources> texts;
    std::size_t bytes = 0;
    std::uint64_t lastUse = 0;
  };
  Entry& entryOf(const FileIdentity& file);
  void forgetOldest();

  std::map<FileIdentity, Entry> files;
  std::size_t texts = 0;
  std::size_t bytes = 0;
  std::uint64_t uses = 0;
};

}  // namespace quillard::catalogues
