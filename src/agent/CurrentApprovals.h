#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "agent/ApprovalAnnouncer.h"
#include "agent/DecisionAudit.h"
#include "approvals/ApprovalStore.h"
#include "approvals/PendingApproval.h"
#include "approvals/ScanOutcome.h"
#include "foundation/Uuid.h"

namespace quillard {

// Who keeps what waits, and who is told of it at this computer. All of it outlives this.
struct CurrentApprovalsDependencies {
  ApprovalStore& store;
  DecisionAudit& audit;
  ApprovalAnnouncer& announcer;
};

// What is asked for, and what a change means for the others. Main thread; none is empty.
struct CurrentApprovalsCallbacks {
  std::function<bool()> isTrusted;  // Whether windows may be read at all.
  std::function<bool()> isPaused;
  std::function<std::size_t()> openQuestions;       // How many programs ask and wait.
  std::function<void()> publish;                    // Phones are to be told, as far as it is new to them.
  std::function<void(std::int64_t count)> onCount;  // How many wait now.
};

// What waits now, and who learns of a change: the log first, then phones, this computer's user and the menu bar.
// Without the permission nothing is known of windows, and what was known is forgotten; what programs ask needs none.
// Main thread.
class CurrentApprovals {
 public:
  CurrentApprovals(const CurrentApprovalsDependencies& dependencies, CurrentApprovalsCallbacks callbacks);
  CurrentApprovals(const CurrentApprovals&) = delete;
  CurrentApprovals& operator=(const CurrentApprovals&) = delete;

  // How many of what was known the scan missed. Absent: without the permission its outcome does not count.
  std::optional<std::size_t> publishScan(const ScanOutcome& outcome);
  // Nothing is known of the screen any more.
  void forget();
  // It was answered, and seen gone.
  void answered(const Uuid& approvalID);
  // The store has changed, other than by a scan.
  void changed();
  // The same, by what a program asks or has taken back.
  void questionsChanged();

  // All that waits: what phones are shown unless alerts are paused. Oldest first.
  [[nodiscard]] std::vector<PendingApproval> waiting() const;
  // What kept the newest scan that counted from being whole.
  [[nodiscard]] const ScanProblem& scanProblem() const { return problem; }

 private:
  const CurrentApprovalsDependencies dependencies;
  const CurrentApprovalsCallbacks callbacks;
  ScanProblem problem;
};

}  // namespace quillard
