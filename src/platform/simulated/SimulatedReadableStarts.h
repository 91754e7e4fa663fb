#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/ReadableStarts.h"

namespace quillard::platform::simulated {

// A menu of entries, of which none is there at first. One thread.
class SimulatedReadableStarts final : public ReadableStarts {
 public:
  // From now on there is an entry, which can be changed.
  void addEntry(const std::string& entry, const std::string& name) { entries[entry].name = name; }
  // The user has made an entry of their own in its place.
  void replaceByUser(const std::string& entry) { entries.at(entry).isUsersOwn = true; }
  // The user has changed what was changed here.
  void editByUser(const std::string& entry) { entries.at(entry).isEdited = true; }
  // Whether the menu starts it so that it can be read.
  [[nodiscard]] bool isReadable(const std::string& entry) const { return entries.at(entry).isChanged; }

  // The entry of that name, as long as it can be changed. Empty: there is none.
  [[nodiscard]] std::string offeredFor(const std::string& name) const;

  [[nodiscard]] std::vector<ReadableStart> changed() override;
  [[nodiscard]] std::optional<std::string> change(const std::string& entry) override;
  [[nodiscard]] std::optional<std::string> undo(const std::string& entry) override;

 private:
  struct Entry {
    std::string name;
    bool isUsersOwn = false;
    bool isChanged = false;
    bool isEdited = false;
  };

  std::map<std::string, Entry> entries;
};

}  // namespace quillard::platform::simulated
