#pragma once

#include <unordered_map>
#include <unordered_set>

#include "foundation/Uuid.h"

namespace quillard {

// Holds a prompt back until two scans in a row have met it, so that windows that flash up, or are still being drawn,
// are never published. Used by one scan at a time.
//
// It goes by fingerprints: the same text in another window, whether twin or successor, was read twice, too, and is not
// drawn any more. It is a prompt of its own for whoever keeps identities.
//
// A prompt that was met once therefore needs another scan soon: the next sweep may be five minutes away. Whoever
// schedules scans sees to it: 1.3 s after a scan that held a prompt back, when no other scan came before. At most three
// such scans follow each other, so that a window that changes at each of them is not chased.
class PromptCandidateGate {
 public:
  // Called once per scan, with all prompts that it accepted: the ones that may be published now. A prompt that was
  // missing starts again, but for `unread`: those are prompts that this scan could not read, so that the next one
  // decides.
  [[nodiscard]] std::unordered_set<Uuid> publishableIDs(const std::unordered_set<Uuid>& ids,
                                                        const std::unordered_set<Uuid>& unread = {});

 private:
  std::unordered_map<Uuid, int> observationCounts;  // Consecutive scans that met the prompt.
};

}  // namespace quillard
