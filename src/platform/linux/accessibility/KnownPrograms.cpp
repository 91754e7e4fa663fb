#include "platform/linux/accessibility/KnownPrograms.h"

#include <algorithm>

namespace quillard::atspi {
namespace {

// Long enough for a program that is busy for a while, short enough to cost little when it was but a moment.
constexpr int kCarefulReadings = 20;
// Somebody may ask for events later on.
constexpr int kReadingsAfterNoCache = 20;
constexpr int kReadingsAfterTooMuch = 2000;
constexpr int kReadingsBetweenChecks = 7;

}  // namespace

int carefulReadingsAfter(int before, bool wasAskedForChildren, bool hasShownLargeContainers) {
  if (hasShownLargeContainers) return kCarefulReadings;
  return std::max(0, wasAskedForChildren ? before - 1 : before);
}

CacheUse cacheUseOf(const KnownProgram& program, Toolkit toolkit) {
  const bool isUsable =
      toolkit == Toolkit::gtk3 && program.isSmall && program.readingsWithoutCache == 0 && program.carefulReadings == 0;
  if (!isUsable) return CacheUse::none;
  const bool isCheckDue = program.wasContradicted || program.uncheckedReadings >= kReadingsBetweenChecks;
  return isCheckDue ? CacheUse::compare : CacheUse::take;
}

void learn(KnownProgram& program, const TreeExperience& experience) {
  if (!experience.wasRead) return;
  program.isSmall = experience.isWhole;
  if (!experience.askedCache) {
    program.readingsWithoutCache = std::max(0, program.readingsWithoutCache - 1);
  } else if (experience.cacheAnswer == CacheAnswer::none) {
    program.readingsWithoutCache = kReadingsAfterNoCache;
  } else if (experience.cacheAnswer == CacheAnswer::tooLong) {
    program.readingsWithoutCache = kReadingsAfterTooMuch;
  } else if (experience.check == CacheCheck::none) {
    ++program.uncheckedReadings;
  } else {
    const bool isOld = program.wasContradicted && experience.check == CacheCheck::contradicted;
    program.wasContradicted = !isOld && experience.check == CacheCheck::contradicted;
    program.uncheckedReadings = 0;
    if (isOld) program.readingsWithoutCache = kReadingsAfterTooMuch;
  }
}

std::optional<KnownProgram> KnownPrograms::find(const std::string& busIdentity, const std::string& bus) const {
  const MutexLock lock(mutex);
  if (busIdentity != identity) return std::nullopt;
  const auto found = programs.find(bus);
  return found == programs.end() ? std::nullopt : std::optional{found->second};
}

void KnownPrograms::remember(const std::string& busIdentity, const std::string& bus, const KnownProgram& program) {
  const MutexLock lock(mutex);
  if (busIdentity != identity) programs.clear();
  identity = busIdentity;
  programs[bus] = program;
}

void KnownPrograms::retain(const std::string& busIdentity, const std::unordered_set<std::string>& buses) {
  const MutexLock lock(mutex);
  if (busIdentity != identity) return;
  std::erase_if(programs, [&](const auto& entry) { return !buses.contains(entry.first); });
}

}  // namespace quillard::atspi
