#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/linux/accessibility/NodeTree.h"

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
  // Whether its trees were met as a whole by the last reading, and were small.
  bool isSmall = false;
  // For so many further readings its cache is not asked: it has none, or one that cannot be used.
  int readingsWithoutCache = 0;
  // So many readings have taken the word of its cache since a walk was compared with it.
  int uncheckedReadings = 0;
  // The last comparison found something else. Once may be a change that came in between; twice is a cache that is old.
  bool wasContradicted = false;
  // The paths of its windows that were found to hold something: a toolkit that fills its windows does not empty them.
  std::vector<std::string> filledWindows;
};

// What came of comparing a cache with a walk. `none`: there was nothing to compare.
enum class CacheCheck { none, confirmed, contradicted };

// What a reading has shown of a program's trees.
struct TreeExperience {
  bool wasRead = false;  // Trees below its windows were asked for.
  bool isWhole = false;  // No part of them was left out, and they are small.
  bool askedCache = false;
  CacheAnswer cacheAnswer = CacheAnswer::none;
  CacheCheck check = CacheCheck::none;
};

// What the cache of its toolkit is asked for. Only that of GTK 3, where it lists all there is, and only of a
// program that a walk has found small: the cache lists hidden objects, too, and a large list stalls the program. The
// caches are there once anybody on the bus has asked for events, which nobody does here for their sake: from then on
// each change of each object of every program is announced to all.
//
// Every eighth reading walks, and compares: a cache that has not noticed a change can neither hide a prompt nor keep
// one alive for longer than that.
[[nodiscard]] CacheUse cacheUseOf(const KnownProgram& program, Toolkit toolkit);
// What is remembered after a reading.
void learn(KnownProgram& program, const TreeExperience& experience);

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
