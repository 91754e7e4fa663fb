#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "approvals/PendingApproval.h"
#include "platform/desktop/Accessibility.h"

namespace quillard {

// What one scan found, and what it could not read: of that it says nothing, and least of all that it is gone. A plain
// value. Each record's `id` is its fingerprint.
struct ScanOutcome {
  std::vector<PendingApproval> approvals;  // Each fingerprint once, in the order in which they were met.
  // The other windows that show a prompt of one of those fingerprints, in that order: of identical prompts one is
  // listed, and whoever keeps them decides which.
  std::vector<PendingApproval> twins;
  std::size_t heldBackCount = 0;  // Prompts met for the first time, which another scan has to confirm.
  // The processes of which some window could not be read, since they missed their time-out, and then those of which the
  // meaning of some window's texts could not be looked up. Each once, in the order in which they were asked. What they
  // show besides what was found is not known.
  std::vector<std::int32_t> unreadProcesses;
  // Present: the desktop as a whole could not be read, and nothing else here says anything.
  std::optional<platform::DesktopReadFailure> failure;

  [[nodiscard]] bool isWhole() const { return !failure && unreadProcesses.empty(); }
};

// What keeps a scan from being whole, for the user. A plain value.
struct ScanProblem {
  std::optional<platform::DesktopReadFailure> failure;
  std::size_t unreadProgramCount = 0;

  [[nodiscard]] static ScanProblem of(const ScanOutcome& outcome) {
    return {outcome.failure, outcome.unreadProcesses.size()};
  }
  bool operator==(const ScanProblem&) const = default;
};

}  // namespace quillard
