#include "detection/PromptCandidateGate.h"

namespace quillard {
namespace {

constexpr int kScansToPublish = 2;

}  // namespace

std::unordered_set<Uuid> PromptCandidateGate::publishableIDs(const std::unordered_set<Uuid>& ids,
                                                             const std::unordered_set<Uuid>& unread) {
  std::erase_if(observationCounts,
                [&](const auto& entry) { return !ids.contains(entry.first) && !unread.contains(entry.first); });
  std::unordered_set<Uuid> publishable;
  for (const auto& id : ids) {
    int& count = observationCounts[id];
    if (count < kScansToPublish) ++count;  // Beyond that, it only matters that it was reached.
    if (count >= kScansToPublish) publishable.insert(id);
  }
  return publishable;
}

}  // namespace quillard
