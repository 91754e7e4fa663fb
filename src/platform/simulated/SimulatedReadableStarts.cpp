#include "platform/simulated/SimulatedReadableStarts.h"

#include <algorithm>
#include <tuple>

namespace quillard::platform::simulated {

std::string SimulatedReadableStarts::offeredFor(const std::string& name) const {
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& known) {
    return known.second.name == name && !known.second.isChanged && !known.second.isUsersOwn;
  });
  return found == entries.end() ? "" : found->first;
}

std::vector<ReadableStart> SimulatedReadableStarts::changed() {
  std::vector<ReadableStart> starts;
  for (const auto& [id, entry] : entries) {
    if (entry.isChanged) starts.push_back({.entry = id, .name = entry.name});
  }
  std::sort(starts.begin(), starts.end(), [](const ReadableStart& a, const ReadableStart& b) {
    return std::tie(a.name, a.entry) < std::tie(b.name, b.entry);
  });
  return starts;
}

std::optional<std::string> SimulatedReadableStarts::change(const std::string& id) {
  const auto entry = entries.find(id);
  if (entry == entries.end()) return "There is no entry " + id + " in the menu.";
  if (entry->second.isUsersOwn) return "You have an entry of your own for " + entry->second.name + ".";
  entry->second.isChanged = true;
  return std::nullopt;
}

std::optional<std::string> SimulatedReadableStarts::undo(const std::string& id) {
  const auto entry = entries.find(id);
  if (entry == entries.end() || !entry->second.isChanged) return std::nullopt;
  if (entry->second.isEdited) return "The entry of " + entry->second.name + " was changed since.";
  entry->second.isChanged = false;
  return std::nullopt;
}

}  // namespace quillard::platform::simulated
