#include "agent/ScanScheduler.h"

#include <utility>

#include "agent/configuration/AgentConfiguration.h"
#include "values/Time.h"

namespace quillard {
namespace {

// Longer than the scans after an event are apart, so that a confirmation is needed only where none of those is left.
constexpr Seconds kConfirmationDelay{1.3};
constexpr int kMostConfirmationsInARow = 3;

}  // namespace

ScanScheduler::ScanScheduler(ScanSchedulerDependencies dependencies) : dependencies(std::move(dependencies)) {}

ScanScheduler::~ScanScheduler() = default;

void ScanScheduler::scheduleScan(std::string_view /*reason*/) {
  confirmationsInARow = 0;
  requestScan();
}

void ScanScheduler::requestScan() {
  if (isStopped || !dependencies.isScanWanted()) return;
  if (scanInFlight) {
    scanRequestedWhileInFlight = true;
    return;
  }
  scanInFlight = true;
  confirmationTask.reset();
  dependencies.beginScan(callbacks.bind([this](const ScanOutcome& outcome) { finishScan(outcome); }));
}

void ScanScheduler::finishScan(const ScanOutcome& outcome) {
  if (isStopped) return;
  scanInFlight = false;
  const bool isRequestedAgain = std::exchange(scanRequestedWhileInFlight, false);
  if (const auto publishedCount = dependencies.publishScan(outcome.approvals)) {
    scheduleStaleCleanupIfNeeded(outcome.approvals.size(), *publishedCount);
    scheduleConfirmationIfNeeded(outcome.heldBackCount);
  }
  if (isRequestedAgain) scheduleScan("requested-during-scan");
}

void ScanScheduler::startSafetySweep() {
  safetySweepTimer = dependencies.mainThread.repeatEvery(
      AgentConfiguration::safetySweepInterval(dependencies.environment), [this] { scheduleScan("safety-sweep"); });
}

void ScanScheduler::scheduleStaleCleanupIfNeeded(std::size_t scannedCount, std::size_t publishedCount) {
  staleCleanupTask.reset();
  if (scannedCount >= publishedCount) return;
  staleCleanupTask =
      dependencies.mainThread.postAfter(AgentConfiguration::staleCleanupDelay(dependencies.environment), [this] {
        staleCleanupTask.reset();
        scheduleScan("stale-cleanup");
      });
}

void ScanScheduler::scheduleConfirmationIfNeeded(std::size_t heldBackCount) {
  confirmationTask.reset();
  if (heldBackCount == 0 || confirmationsInARow >= kMostConfirmationsInARow) return;
  confirmationTask = dependencies.mainThread.postAfter(kConfirmationDelay, [this] { confirmHeldBackPrompts(); });
}

void ScanScheduler::confirmHeldBackPrompts() {
  confirmationTask.reset();
  ++confirmationsInARow;
  requestScan();
}

void ScanScheduler::stop() {
  isStopped = true;
  safetySweepTimer.reset();
  staleCleanupTask.reset();
  confirmationTask.reset();
}

}  // namespace quillard
