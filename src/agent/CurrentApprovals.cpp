#include "agent/CurrentApprovals.h"

#include <utility>

#include "values/Time.h"

namespace quillard {

CurrentApprovals::CurrentApprovals(const CurrentApprovalsDependencies& dependencies,
                                   CurrentApprovalsCallbacks callbacks)
    : dependencies(dependencies), callbacks(std::move(callbacks)) {}

std::optional<std::size_t> CurrentApprovals::publishScan(const ScanOutcome& outcome) {
  if (!callbacks.isTrusted()) {
    forget();
    return std::nullopt;
  }
  problem = ScanProblem::of(outcome);
  const auto missedCount = dependencies.store.merge(outcome);
  const auto current = dependencies.store.all();
  dependencies.audit.approvalsChanged(current);
  callbacks.publish();
  dependencies.announcer.announce(current, callbacks.isPaused());
  callbacks.onCount(static_cast<std::int64_t>(current.size()));
  return missedCount;
}

void CurrentApprovals::forget() {
  problem = {};
  dependencies.audit.lostSight();
  dependencies.store.replace({});
  dependencies.announcer.forget();
  callbacks.onCount(static_cast<std::int64_t>(callbacks.openQuestions()));
  callbacks.publish();
}

// The same text again is a new prompt.
void CurrentApprovals::answered(const Uuid& approvalID) {
  dependencies.store.remove(approvalID, Seconds::zero());
  changed();
}

void CurrentApprovals::changed() {
  dependencies.audit.approvalsChanged(dependencies.store.all());
  callbacks.publish();
  callbacks.onCount(static_cast<std::int64_t>(dependencies.store.all().size()));
}

void CurrentApprovals::questionsChanged() {
  dependencies.announcer.announce(dependencies.store.all(), callbacks.isPaused());
  changed();
}

std::vector<PendingApproval> CurrentApprovals::waiting() const {
  auto approvals = dependencies.store.all();
  if (!callbacks.isTrusted()) std::erase_if(approvals, [](const auto& one) { return !one.isAsked; });
  return approvals;
}

}  // namespace quillard
