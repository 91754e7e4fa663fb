#include "platform/linux/accessibility/KnownPrograms.h"

#include <algorithm>

namespace quillard::atspi {
namespace {

// Long enough for a program that is busy for a while, short enough to cost little when it was but a moment.
constexpr int kCarefulReadings = 20;

}  // namespace

int carefulReadingsAfter(int before, bool wasAskedForChildren, bool hasShownLargeContainers) {
  if (hasShownLargeContainers) return kCarefulReadings;
  return std::max(0, wasAskedForChildren ? before - 1 : before);
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
