#pragma once

#include <unordered_map>
#include <unordered_set>

#include "foundation/Uuid.h"

namespace quillard {

// Holds a prompt back until two scans in a row have seen it, so that windows that flash up are never published. Used by
// one scan at a time.
class PromptCandidateGate {
 public:
  // Once per scan, with all that it accepted: the ones that may be published now. Whoever was missing starts again.
  [[nodiscard]] std::unordered_set<Uuid> publishableIDs(const std::unordered_set<Uuid>& ids);

 private:
  std::unordered_map<Uuid, int> observationCounts;  // Consecutive scans that saw the prompt.
};

}  // namespace quillard
