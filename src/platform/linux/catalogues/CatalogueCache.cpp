#include "platform/linux/catalogues/CatalogueCache.h"

#include <algorithm>
#include <utility>

namespace quillard::catalogues {
namespace {

std::string keyOf(const WantedText& text) { return (text.isLine ? "l" : "b") + text.text; }

std::size_t bytesOf(const std::string& key, const FoundSources& sources) {
  std::size_t bytes = key.size();
  for (const auto& [source, count] : sources.counts) bytes += source.size() + sizeof count;
  return bytes;
}

}  // namespace

CatalogueCache::Entry& CatalogueCache::entryOf(const FileIdentity& file) {
  if (!files.contains(file) && files.size() >= kMostFiles) forgetOldest();
  auto& entry = files[file];
  entry.lastUse = ++uses;
  return entry;
}

void CatalogueCache::forgetOldest() {
  const auto oldest = std::min_element(
      files.begin(), files.end(), [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; });
  if (oldest == files.end()) return;
  texts -= oldest->second.texts.size();
  bytes -= oldest->second.bytes;
  files.erase(oldest);
}

const FoundSources* CatalogueCache::find(const FileIdentity& file, const WantedText& text) {
  const auto known = files.find(file);
  if (known == files.end()) return nullptr;
  known->second.lastUse = ++uses;
  const auto found = known->second.texts.find(keyOf(text));
  return found == known->second.texts.end() ? nullptr : &found->second;
}

void CatalogueCache::remember(const FileIdentity& file, const WantedText& text, FoundSources sources) {
  const std::string key = keyOf(text);
  const std::size_t added = bytesOf(key, sources);
  if (find(file, text)) return;  // Another thread has found the same meanwhile.
  while (!files.empty() && (texts >= kMostTexts || bytes + added > kMostBytes)) forgetOldest();
  auto& entry = entryOf(file);
  entry.texts.emplace(key, std::move(sources));
  entry.bytes += added;
  bytes += added;
  ++texts;
}

}  // namespace quillard::catalogues
