#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "foundation/Mutex.h"

namespace quillard::atspi {

// What is known of a program for as long as it is on its bus.
struct KnownProgram {
  std::int32_t processIdentifier = 0;
  std::string rootPath;
  bool isToolkitKnown = false;
  std::string toolkitName;
  std::string toolkitVersion;
  // For so many further readings of its windows, large containers are expected there. A program that was merely slow
  // once is thus soon asked plainly again; one that has such a container starts from the top with each reading.
  int carefulReadings = 0;
};

// Zero or more: what is left after a reading.
[[nodiscard]] int carefulReadingsAfter(int before, bool wasAskedForChildren, bool hasShownLargeContainers);

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
