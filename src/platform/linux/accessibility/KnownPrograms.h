#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "foundation/Mutex.h"

namespace quillard::atspi {

// What stays true of a program for as long as it is on its bus.
struct KnownProgram {
  std::int32_t processIdentifier = 0;
  std::string rootPath;
  bool isToolkitKnown = false;
  std::string toolkitName;
  std::string toolkitVersion;
  bool hasLargeContainers = false;  // As it has shown at least once.
};

// The programs that have been met on the bus, by their unique names, which no bus gives twice. Any thread.
class KnownPrograms {
 public:
  [[nodiscard]] std::optional<KnownProgram> find(const std::string& busIdentity, const std::string& bus) const;
  void remember(const std::string& busIdentity, const std::string& bus, const KnownProgram& program);
  // Forgets all but these.
  void retain(const std::string& busIdentity, const std::unordered_set<std::string>& buses);

 private:
  mutable Mutex mutex;
  std::string identity QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<std::string, KnownProgram> programs QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::atspi
